// Shared by every JScript scenario: the runner puts this text in front of the scenario, since
// cscript has no way to include one script in another.
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

// Runs a scenario and saves what it recorded. cscript prints nothing and exits 0 on an uncaught
// script error, so an error is recorded as the result "error" and the exit code is 1.
function scenario(body) {
    try {
        body();
        save();
        WScript.Quit(0);
    } catch (e) {
        record("error", e.number + " " + e.description);
        save();
        WScript.Quit(1);
    }
}
