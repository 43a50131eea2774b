// What the script tests check with. A check that fails throws; the host then ends with the message
// and the way there.

function assert(condition, what) {
    if (!condition)
        throw new Error("assertion failed: " + (what === undefined ? "" : what));
}

function describe(value) {
    if (typeof value === "string")
        return JSON.stringify(value);
    if (Array.isArray(value))
        return "[" + value.map(describe).join(", ") + "]";
    if (value !== null && typeof value === "object" && Object.keys(value).length > 0)
        return "{" + Object.keys(value).sort().map(function(key) {
            return key + ": " + describe(value[key]);
        }).join(", ") + "}";
    return String(value);
}

// Arrays and plain objects are compared by their contents.
function assertEquals(actual, expected, what) {
    if (typeof actual === typeof expected && describe(actual) === describe(expected))
        return;
    throw new Error((what ? what + ": " : "") + "got " + describe(actual) + ", expected "
                    + describe(expected));
}

// The whole text of the message is compared.
function assertThrows(run, text) {
    try {
        run();
    } catch (error) {
        assertEquals(error.message, text);
        return;
    }
    throw new Error("nothing was thrown, expected " + describe(text));
}
