-- String building: a 20-piece string joined a piece at a time, every round.
local rounds = tonumber(arg[1])
local total = 0
local last = ""
for i = 0, rounds - 1 do
  local s = ""
  for j = 0, 19 do s = s .. (i + j) % 100 .. "," end
  total = (total + #s) % 1000003
  last = s
end
io.write(total, " ", last, "\n")
