// A page's visit: configure identifiers and values, detect and report, read single values and the
// service's analysis, then start a new session. Timings of the reports go to the results too.
// Usage: cscript //nologo session.js RESULTS-FILE
var CONFIGURATION =
    "<user_id>u9</user_id><referrer_id>e2e</referrer_id>" +
    "<groups>" +
    "<group index=\"0\" id=\"71069\"><value>  a  &  b </value></group>" +
    "<group index=\"1\" id=\"71069\"><value>second</value></group>" +
    "<group index=\"0\" id=\"71500\"><value>not enabled</value></group>" +
    "<group index=\"0\" id=\"71207\"><value>cfg-computer</value></group>" +
    "<group index=\"0\" id=\"71465\"><value>No</value></group>" +
    "<group index=\"0\" id=\"71466\"><value>Yes</value></group>" +
    "</groups>";

scenario(function () {
    var info = new ActiveXObject("RigelDetection_Test64.SysInfo");
    record("session", info.SessionID);
    info.Logging = "3";
    info.Configure(CONFIGURATION);
    record("referrer", info.ReferrerID);
    record("user", info.UserID);

    var start = now();
    var first = info.SysInfo;
    var between = now();
    var second = info.SysInfo;
    record("ms.sysinfo1", between - start);
    record("ms.sysinfo2", now() - between);
    record("report1", first);
    record("report2", second);
    record("logging.after_sysinfo", info.Logging);
    record("computer", info.ComputerID);

    record("system", info.System("x"));
    info.SysInfo = "<groups></groups>";
    record("report.after_put", info.SysInfo);

    info.Detect();
    record("logging.after_detect", info.Logging);
    var missing = info.Value("99999");
    record("missing.type", typeof missing);
    record("missing", missing);
    record("value.71206", info.Value("71206"));
    record("value.71069#1", info.Value("71069#1"));
    record("analysis", info.Analysis("71206", "f", "v"));

    info.SessionID = "e2e-second-session";
    record("report3", info.SysInfo);

});
