-- Accent families: a groove holds for its phrase. Inside a phrase only the
-- family already playing may go on (when it is among the candidates); at
-- a phrase's first bar every candidate stays, so that the controls may
-- bring another family there, and only there.
local candidates = inputs[1]
outputs[1] = candidates
if candidates == nil or BarInPhrase() == 1 then
  return
end
local family = FamilyOf(context:PatternNameAtOffset(TPatternGraphType.AccentFamily.value, -1))
if family == nil then
  return
end
local playing = false
for _, p in candidates:Iterator() do
  if IsOfFamily(p:Name(), family) then
    playing = true
    break
  end
end
if not playing then
  return
end
for _, p in candidates:Iterator() do
  if not IsOfFamily(p:Name(), family) then
    p:SetProb(0)
  end
end
