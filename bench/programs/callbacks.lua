-- Callbacks: functions kept in a list and a table, passed to functions
-- that call them, as handlers and idle hooks are: 13 calls a round, 10 of
-- them through a value.
local function onPaint(m, w) return m + w end
local function onSize(m, w) return m * 2 + w end
local function onIdle(m, w) return (m ~ w) & 255 end
local function dispatch(table, m, w)
  local h = table[m % 3 + 1]
  return h(m, w)
end
local function each(list, m)
  local s = 0
  for i = 1, #list do s = s + list[i](m, i - 1) end
  return s
end
local rounds = tonumber(arg[1])
local handlers = {onPaint, onSize, onIdle}
local byName = {paint = onPaint, size = onSize, idle = onIdle}
local names = {"paint", "size", "idle"}
local total = 0
for i = 0, rounds - 1 do
  for j = 0, 2 do
    total = total + dispatch(handlers, i + j, j)
    local h = byName[names[j + 1]]
    total = total + h(i, j)
  end
  total = (total + each(handlers, i)) % 1000003
end
io.write(total, "\n")
