// A whole detection pass on Wine's machine with the profile the runner staged in the registry:
// debug mode reports every group, so the report holds everything the detectors stored.
// Usage: cscript //nologo machine.js RESULTS-FILE USER-AGENT
scenario(function () {
    var info = new ActiveXObject("RigelDetection_Test64.SysInfo");
    info.Debug = "1";
    info.Configure("<referrer_id>e2e</referrer_id><groups>" +
                   "<group index=\"0\" id=\"71446\"><value>" + WScript.Arguments(1) +
                   "</value></group></groups>");
    var start = now();
    record("report", info.SysInfo);
    record("ms.detection", now() - start);
});
