-- SPDX-License-Identifier: Apache-2.0
-- The requests of bench/serve/measure.py for wrk: `wrk -s questions.lua URL -- PATH MILLISECONDS`. Each is of another user. With
-- MILLISECONDS, each connection waits before a request: half as long to one and a half times as long.

local pause = 0

function init(arguments)
  wrk.method = "POST"
  wrk.path = arguments[1]
  wrk.headers["Content-Type"] = "application/json"
  pause = tonumber(arguments[2])
  math.randomseed(1)
  if pause > 0 then
    delay = function() return math.random(math.floor(pause / 2), math.ceil(pause * 3 / 2)) end
  end
end

local properties = '"email":"ann@shop.example","plan":"%s","visits":%d,"member":true,"region":"south"'
local plans = { "free", "silver", "gold", "platinum" }

function request()
  local user = string.format('"targetingKey":"user-%d",', math.random(1000000))
  local rest = string.format(properties, plans[math.random(#plans)], math.random(100))
  return wrk.format(nil, nil, nil, '{"context":{' .. user .. rest .. '}}')
end
