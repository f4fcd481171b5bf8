-- Loops: integer arithmetic in a nested loop, 100 steps a round.
local rounds = tonumber(arg[1])
local acc = 0
for i = 0, rounds - 1 do
  for j = 0, 99 do acc = (acc * 31 + (i ~ j)) % 1000003 end
end
io.write(acc, "\n")
