-- The kit as the region wants it, on each chosen pattern of each layer:
-- kick and snare switches (region parameters "kickEnabled" and
-- "snareEnabled") for the groove, while fills keep every drum, so that a
-- section without snare still leads into the next; and the hi-hat's
-- openness by intensity: a loud section opens the hat on the bar's last
-- eighth, a quiet one keeps every hat closed.
local patterns = inputs[1]
outputs[1] = patterns
if patterns == nil then
  return
end
local openLast = INTENSITY >= 75
local closeAll = INTENSITY < 35
for _, p in patterns:Iterator() do
  local groove = p:PatternGraphType() ~= TPatternGraphType.Fill.value
  local evs = p:Events()
  local lastEighth = p:Length() + 0.5 -- 1-based: half a beat before the end
  for i, e in evs:Iterator() do
    if e:IsNoteOn() then
      if groove and ((not KICK_ON and e:EvMatchesPath(KIT.kick)) or (not SNARE_ON and e:EvMatchesPath(KIT.snare))) then
        evs:Mark(i)
      elseif e:EvMatchesPath(KIT.hatHit) then
        if closeAll then
          e:SetUidFromPath(KIT.hatClosed)
        elseif openLast and e:BeatPos() == lastEighth then
          e:SetUidFromPath(KIT.hatOpen)
        end
      end
    end
  end
  evs:RemoveMarked()
end
