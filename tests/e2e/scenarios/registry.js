// Reads registry values for the registration tests in one process: each argument after the
// results file is a value path (a path ending in a backslash names the key's default value).
// A value that cannot be read is recorded under its path with " (missing)" appended.
// Usage: cscript //nologo registry.js RESULTS-FILE PATH...

scenario(function () {
    var shell = new ActiveXObject("WScript.Shell");
    for (var i = 1; i < WScript.Arguments.length; ++i) {
        var path = WScript.Arguments(i);
        try {
            record(path, shell.RegRead(path));
        } catch (missing) {
            record(path + " (missing)", missing.number);
        }
    }
});
