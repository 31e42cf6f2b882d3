// One full detection as a page without a referrer meets it: every group is reported. The log is
// at its most detailed level, for the runner's capture.
// Usage: cscript //nologo full_detection.js RESULTS-FILE
scenario(function () {
    var info = new ActiveXObject("RigelDetection_Test64.SysInfo");
    info.Logging = "7";
    record("report", info.SysInfo);
});
