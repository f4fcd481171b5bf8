-- Calls: naive recursive Fibonacci, 177 or 287 calls a round.
local function fib(n)
  if n < 2 then return n end
  return fib(n - 1) + fib(n - 2)
end
local rounds = tonumber(arg[1])
local sum = 0
for i = 0, rounds - 1 do sum = (sum + fib(10 + i % 2)) % 1000003 end
io.write(sum, "\n")
