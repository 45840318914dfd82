local t = {}
for k, v in pairs(_G) do t[#t + 1] = k end
while true do pcall(function() while true do end end) end
