// The members that need no detection: identity, version, identifiers, logging and debug settings.
// Nothing here may reach the data service.
// Usage: cscript //nologo basics.js RESULTS-FILE

scenario(function () {
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

});
