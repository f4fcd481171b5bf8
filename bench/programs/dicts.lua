-- Dictionary work: read, update and write one of 1,000 keys every round.
local rounds = tonumber(arg[1])
local d = {}
for i = 0, rounds - 1 do
  local k = "k" .. (i % 1000) * 7 % 1000
  d[k] = ((d[k] or 0) + i) % 1000003
end
local count, sum = 0, 0
for _, v in pairs(d) do
  count = count + 1
  sum = (sum + v) % 1000003
end
io.write(count, " ", sum, "\n")
