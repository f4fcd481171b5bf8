-- A counting loop: 100 steps a round, each adding i & 7.
local rounds = tonumber(arg[1])
local acc = 0
for i = 0, rounds * 100 - 1 do acc = acc + (i & 7) end
io.write(acc, "\n")
