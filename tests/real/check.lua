-- What an interpreter built with qlcc must get right; every line is an assertion.
local function eq(a, b) if a ~= b then error(tostring(a) .. " is not " .. tostring(b), 2) end end

-- numbers and their texts
eq(7 // 2, 3) eq(-7 // 2, -4) eq(-7 % 3, 2) eq(7.5 // 2, 3.0) eq(2^53, 9007199254740992.0)
eq(math.maxinteger + 1, math.mininteger) eq(1 << 63, math.mininteger) eq(~0 >> 60, 15)
eq(string.format("%5.2f|%-5d|%05x|%g|%q", 3.14159, 42, 255, 1e20, "a\n\0b"), " 3.14|42   |000ff|1e+20|\"a\\\n\\0b\"")
eq(tonumber("0x1p-3"), 0.125) eq(tonumber("z", 36), 35) eq(tostring(1e15), "1e+15") eq(0.1 + 0.2 == 0.3, false)
eq(math.type(3), "integer") eq(math.tointeger(3.0), 3) eq(string.format("%.14g", math.pi), "3.1415926535898")
eq(math.ult(1, -1), true) eq(5 // 0.0, math.huge) eq(pcall(function() return 1 // 0 end), false)

-- strings and patterns
eq(("hello world"):gsub("o", "0"), "hell0 w0rld") eq(("key=val"):match("(%w+)=(%w+)"), "key")
eq(("x"):rep(5, "-"), "x-x-x-x-x") eq(("abc"):byte(-1), 99) eq(#"\u{7FFFFFFF}", 6) eq(utf8.char(228, 8364), "ä€")
eq(("THE (quick) fox"):find("%((%a+)%)"), 5) eq(("%bxy"):len(), 4) eq(("f(a(b)c)d"):match("%b()"), "(a(b)c)")
eq(string.pack("<i4 z s1", -2, "hi", "there"), "\xfe\xff\xff\xffhi\0\5there")
eq(string.unpack(">d", string.pack(">d", -1.5)), -1.5)

-- tables, sorting, metatables
local t = {}
for i = 1, 1000 do t[i] = (i * 7919) % 1009 end
table.sort(t)
for i = 2, #t do assert(t[i - 1] <= t[i]) end
eq(table.concat({1, 2, 3}, ","), "1,2,3") eq(select("#", table.unpack({}, 1, 3)), 3)
local v = setmetatable({x = 1}, {__add = function(a, b) return a.x + b.x end, __index = function(_, k) return k .. "!" end,
    __call = function(_, a) return a * 2 end, __close = function() end, __len = function() return 77 end})
eq(v + v, 2) eq(v.foo, "foo!") eq(v(21), 42) eq(#v, 77)

-- closures, coroutines, varargs, goto, errors
local function counter() local n = 0 return function() n = n + 1 return n end end
local a, b = counter(), counter()
a() a() eq(a(), 3) eq(b(), 1)
local co = coroutine.wrap(function(x) for i = 1, 3 do x = coroutine.yield(x + i) end error({code = 7}) end)
eq(co(10), 11) eq(co(20), 22) eq(co(30), 33)
local ok, e = pcall(co, 0)
eq(ok, false) eq(e.code, 7)
for i = 1, 3 do for j = 1, 3 do if j == 2 then goto next end assert(j ~= 2) ::next:: end end
eq(select(2, pcall(error, "text", 0)), "text") eq((load("return 1 +"))) eq(load("return ...")(5), 5)
local depth = 0
local function deep() depth = depth + 1 return 1 + deep() end
eq(pcall(deep), false) assert(depth > 1000)

-- memory: weak tables, finalisers, many objects
local weak, gone = setmetatable({}, {__mode = "k"}), 0
for i = 1, 2000 do weak[setmetatable({}, {__gc = function() gone = gone + 1 end})] = i end
collectgarbage() collectgarbage()
eq(next(weak), nil) eq(gone, 2000)
local s = {}
for i = 1, 20000 do s[#s + 1] = tostring(i) .. "x" end
eq(#table.concat(s), 108894)
print("all right")
