// The members that need no detection: identity, version, identifiers, logging and debug settings.
// Nothing here may reach the data service.
// Usage: cscript //nologo basics.js RESULTS-FILE
var results = [];

// One result per line: name, tab, length in UTF-16 units, tab, text (which may hold anything).
function record(name, value) {
    var text = String(value);
    results.push(name + "\t" + text.length + "\t" + text + "\n");
}

function save() {
    var files = new ActiveXObject("Scripting.FileSystemObject");
    var file = files.CreateTextFile(WScript.Arguments(0), true, true);
    file.Write(results.join(""));
    file.Close();
}

function now() {
    return new Date().getTime();
}

try {
    var start = now();
    var info = new ActiveXObject("RigelDetection_Test64.SysInfo");
    var created = now();
    var version = info.Version;
    record("ms.create", created - start);
    record("ms.version", now() - created);
    record("version", version);

    var generated = info.SessionID;
    record("session.generated", generated);
    info.SessionID = "";
    record("session.after_empty", info.SessionID);

    info.Logging = "3";
    record("logging.3", info.Logging);
    info.Logging = "12";
    record("logging.12", info.Logging);
    info.Logging = "-1";
    record("logging.-1", info.Logging);
    info.Logging = " +5x";
    record("logging.+5x", info.Logging);

    record("debug.initial", info.Debug);
    info.Debug = "00";
    record("debug.00", info.Debug);
    info.Debug = "0";
    record("debug.0", info.Debug);
    info.Debug = "";
    record("debug.empty", info.Debug);

    info.ReferrerID = "r-basics";
    info.ReferrerID = "";
    record("referrer", info.ReferrerID);
    info.UserID = "u-basics";
    info.UserID = "";
    record("user", info.UserID);
    info.ComputerID = "c-basics";
    info.ComputerID = "";
    record("computer", info.ComputerID);

    // A second object, made through the version-dependent name, shares the one session.
    var second = new ActiveXObject("RigelDetection_Test64.SysInfo.1");
    second.UserID = "shared";
    record("second.session", second.SessionID);
    record("first.user", info.UserID);
    record("second.version", second.Version);

    save();
    WScript.Quit(0);
} catch (e) {
    record("error", e.number + " " + e.description);
    save();
    WScript.Quit(1);
}
