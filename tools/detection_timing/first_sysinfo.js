// What a page visitor waits for, as cscript sees it: creating the control, the first SysInfo
// (group list, detection, upload and report) and the SysInfos after it. Prints one line per
// figure, "<name> <milliseconds>"; the later SysInfos are timed together for a finer figure.
// Usage: cscript //nologo first_sysinfo.js PROGID
var REPEATS = 1000;

function now() {
    return new Date().getTime();
}

try {
    var start = now();
    var info = new ActiveXObject(WScript.Arguments(0));
    var created = now();
    var first = info.SysInfo;
    var detected = now();
    var second = info.SysInfo;
    var again = now();
    for (var i = 0; i < REPEATS; ++i) second = info.SysInfo;
    var repeated = now();
    if (first.length == 0 || second != first) throw new Error("the reports differ or are empty");
    WScript.Echo("create " + (created - start));
    WScript.Echo("first " + (detected - created));
    WScript.Echo("second " + (again - detected));
    WScript.Echo("later " + (repeated - again) / REPEATS);
    WScript.Quit(0);
} catch (e) {
    WScript.Echo("error " + e.number + " " + e.description);
    WScript.Quit(1);
}
