// One full detection as a page without a referrer meets it: every group is reported. The log is
// at its most detailed level, for the runner's capture.
// Usage: cscript //nologo full_detection.js RESULTS-FILE
try {
    var info = new ActiveXObject("RigelDetection_Test64.SysInfo");
    info.Logging = "7";
    record("report", info.SysInfo);
    save();
    WScript.Quit(0);
} catch (e) {
    record("error", e.number + " " + e.description);
    save();
    WScript.Quit(1);
}
