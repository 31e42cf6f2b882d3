// Creates the detection control by its ProgID, hands it the identifiers of a visit, detects the
// machine and writes the XML report: to the file named by the second argument (UTF-16, so that
// nothing is lost to the console's code page), else to the console.
// Usage: cscript //nologo detect.js [referrer] [report-file]
var REFERRER = WScript.Arguments.length > 0 ? WScript.Arguments(0) : "demo";
var OUTPUT = WScript.Arguments.length > 1 ? WScript.Arguments(1) : "";

function writeUnicode(path, text) {
    var files = new ActiveXObject("Scripting.FileSystemObject");
    var file = files.CreateTextFile(path, true, true);
    file.Write(text);
    file.Close();
}

try {
    var info = new ActiveXObject("RigelDetection_Test64.SysInfo");
    info.Logging = "3";
    info.ReferrerID = REFERRER;
    info.UserID = "demo-user";
    var report = info.SysInfo;
    if (OUTPUT !== "") {
        writeUnicode(OUTPUT, report);
    } else {
        WScript.Echo(report);
    }
    // An empty report means detection failed inside the control.
    WScript.Quit(report.length > 0 ? 0 : 2);
} catch (e) {
    WScript.Echo("detect.js: " + e.message);
    WScript.Quit(1);
}
