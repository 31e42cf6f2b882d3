// Every member with the data service gone: each returns to the script without an error, the
// failures end up in the log only.
// Usage: cscript //nologo dead_service.js RESULTS-FILE

scenario(function () {
    var info = new ActiveXObject("RigelDetection_Test64.SysInfo");
    info.Logging = "7";
    info.ReferrerID = "e2e";
    info.UserID = "u-dead";
    info.Configure("<groups><group index=\"0\" id=\"71069\"><value>kept</value></group></groups>");
    record("version", info.Version);
    record("sysinfo", info.SysInfo);
    record("system", info.System("x"));
    info.Detect();
    record("value.71206", info.Value("71206"));
    record("value.71069", info.Value("71069"));
    record("analysis.type", typeof info.Analysis("71206", "f", "v"));
    record("analysis", info.Analysis("71206", "f", "v"));
    record("computer", info.ComputerID);
    record("logging", info.Logging);
    record("debug", info.Debug);
    record("referrer", info.ReferrerID);
});
