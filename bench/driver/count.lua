-- SPDX-License-Identifier: MIT
-- For wrk, which by itself only knows a duration: asks for the given paths in turn, and ends the program after so
-- many answers: -- COUNT PATH ...
local requests = {}
local count, asked, answered = 0, 0, 0

function init(arguments)
    count = tonumber(arguments[1])
    for i = 2, #arguments do
        requests[#requests + 1] = wrk.format("GET", arguments[i])
    end
end

function request()
    asked = asked + 1
    return requests[asked % #requests + 1]
end

function response(status)
    if status ~= 200 then
        os.exit(1)
    end
    answered = answered + 1
    if answered == count then
        os.exit(0)
    end
end
