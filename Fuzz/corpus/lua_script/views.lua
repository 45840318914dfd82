keep = events
local e = events:Get(1)
events:Add()
pcall(function() return e:BeatPos() end)
for i, ev in events:Iterator() do ev:SetVelocity(i) if i % 2 == 0 then events:Mark(i) end end
events:RemoveMarked()
local p = patterns:Get(1)
local pe = p:Events()
patterns:AppendPattern(LuaPattern.New())
pcall(function() return pe:Size() end)
events:Quantize(TQuantize.Closest.value, 0.25)
events:Sort()
