-- The demo drummer's global script: helpers that its script modules share,
-- and the two hooks. Every style that includes it gets these as globals.

-- A groove family holds for a phrase of this many bars.
PHRASE_BARS = 4

-- The family of a pattern name: "fam.c2.i2.rock.3" -> "fam.c2.i2.rock".
function FamilyOf(name)
  if name == nil then
    return nil
  end
  return string.match(name, "^(.*)%.%d+$")
end

-- Whether `name` belongs to `family`.
function IsOfFamily(name, family)
  local prefix = family .. "."
  return string.sub(name, 1, #prefix) == prefix
end

-- The bar within its phrase, 1 to PHRASE_BARS, counted from the region's
-- first whole bar (a section starts a phrase).
function BarInPhrase()
  local bar = context:GenerateBarRel()
  return (bar - 1) % PHRASE_BARS + 1
end

-- A region parameter read as a switch: absent is on, below 50 is off.
function SwitchIsOn(key)
  local value = context:GetRegionParameterFloat(key)
  return value == nil or value >= 50
end

function runOnCharacterLoad()
  -- Kit pieces by instrument path, looked up once per script state.
  KIT = {
    kick = "Drums.Ki",
    snare = "Drums.Sn",
    hatHit = "Drums.Hh.note.hit",
    hatClosed = "Drums.Hh.note.hit.move.static.open.o1",
    hatOpen = "Drums.Hh.note.hit.move.static.open.o6",
  }
end

function runOnGenerateBegin()
  -- What the region asks of the kit, read once per generation: the
  -- modules run once per bar and layer.
  KICK_ON = SwitchIsOn("kickEnabled")
  SNARE_ON = SwitchIsOn("snareEnabled")
  INTENSITY = context:GetRegionParameterFloat("intensity") or 50
end
