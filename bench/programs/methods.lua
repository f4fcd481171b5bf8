-- Method calls: 10 calls a round of a method that reads a member.
local Cell = {}
Cell.__index = Cell
function Cell.new(v) return setmetatable({value = v}, Cell) end
function Cell:get() return self.value end
local rounds = tonumber(arg[1])
local cell = Cell.new(3)
local sum = 0
for i = 0, rounds - 1 do
  for j = 0, 9 do sum = sum + cell:get() end
  sum = sum % 1000003
end
io.write(sum, "\n")
