-- Vector work: a 20-element vector filled, then summed, every round.
local rounds = tonumber(arg[1])
local total = 0
for i = 0, rounds - 1 do
  local v = {}
  for j = 0, 19 do v[#v + 1] = i + j end
  local s = 0
  for j = 1, #v do s = s + v[j] end
  total = (total + s) % 1000003
end
io.write(total, "\n")
