-- Texts: 10 labels a round built with string functions, searched, cut,
-- changed and compared, as a window script builds its captions.
local rounds = tonumber(arg[1])
local total = 0
local last = ""
for i = 0, rounds - 1 do
  for j = 0, 9 do
    local s = "item "
    s = s .. tostring((i + j) % 100)
    s = s .. (j % 2 == 0 and ": even" or ": odd")
    local colon = s:find(":", 1, true) - 1
    local head = s:sub(1, colon)
    if head == "item 42" then total = total + 1 end
    s = (s:gsub("e", "E"))
    if s == "itEm 7: odd" then total = total + 3 end
    total = (total + colon + #s + #head) % 1000003
    last = s
  end
end
io.write(total, " ", last, "\n")
