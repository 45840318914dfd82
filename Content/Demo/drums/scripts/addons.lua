-- Accent add-ons. A phrase's first bar picks its opener (a crash with a
-- three-letter code) through the rating module, by complexity and with the
-- rating table of the groove that plays; the phrase's other bars follow
-- from the opener and go past the ratings.
--   inputs[1]  candidates             outputs[1]  candidates
--   inputs[2]  complexity, 0 to 100   outputs[2]  the rating table's name
--                                     outputs[3]  complexity, 0 to 1
--                                     outputs[4]  1: rate them, 0: pass them on
local candidates = inputs[1]
local complexity = inputs[2] or 50
outputs[1] = candidates
outputs[3] = math.max(0, math.min(1, complexity / 100))
local family = FamilyOf(context:PatternNameAtOffset(TPatternGraphType.AccentFamily.value, 0)) or ""
-- Ghost notes are at home in funk and breaks: they rate lower there.
if string.find(family, "funk", 1, true) or string.find(family, "break", 1, true) then
  outputs[2] = "funk"
else
  outputs[2] = "demo"
end
if candidates == nil then
  outputs[4] = 0
  return
end
if BarInPhrase() ~= 1 then
  -- Inside a phrase no opener: its crash belongs to the first bar.
  outputs[4] = 0
  for _, p in candidates:Iterator() do
    if #p:Name() == 3 then
      p:SetProb(0)
    end
  end
  return
end
outputs[4] = 1
-- Only openers start a phrase; each starts equal, whatever offered it.
for _, p in candidates:Iterator() do
  if #p:Name() == 3 then
    p:SetProb(100)
  else
    p:SetProb(0)
  end
end
