-- SPDX-License-Identifier: MIT
-- wrk can only stop after a duration. With this script it requests the given paths in turn, and stops after COUNT answers.
-- Arguments: -- COUNT PATH ...
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
