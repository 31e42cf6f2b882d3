// One visit against a hostile data service: the first SysInfo, timed, then, when asked for, an
// Analysis, timed as well. Debug mode reports every value detected, whatever group list arrived.
// Usage: cscript //nologo hostile.js RESULTS-FILE [analysis]

scenario(function () {
    var info = new ActiveXObject("RigelDetection_Test64.SysInfo");
    info.Logging = "7";
    info.ReferrerID = "hostile";
    info.Debug = "1";
    var start = now();
    record("sysinfo", info.SysInfo);
    record("ms.sysinfo", now() - start);
    if (WScript.Arguments.length > 1 && WScript.Arguments(1) == "analysis") {
        start = now();
        var analysis = info.Analysis("71206", "f", "v");
        record("ms.analysis", now() - start);
        record("analysis.type", typeof analysis);
        record("analysis", analysis);
    }
});
