// One visit whose report feeds the console: every group reported (an empty referrer enables
// them all; a named one is reported in full through debug mode), the browser's identification
// handed over as a value, then the service's analysis of an item for this session.
// Usage: cscript //nologo console.js RESULTS-FILE REFERRER USER-AGENT ITEM
scenario(function () {
    var info = new ActiveXObject("RigelDetection_Test64.SysInfo");
    var referrer = WScript.Arguments(1);
    if (referrer !== "") {
        info.ReferrerID = referrer;
        info.Debug = "1";
    }
    info.Configure("<groups><group index=\"0\" id=\"71446\"><value>" + WScript.Arguments(2) +
                   "</value></group></groups>");
    record("report", info.SysInfo);
    record("session", info.SessionID);
    record("analysis", info.Analysis(WScript.Arguments(3), "json", "1"));
});
