// The installed control as a page meets it: created by its ProgID, its version, and a report
// detected for the referrer. With a second argument, also the version that Windows reads from
// that file's version resource.
// Usage: cscript //nologo installed.js RESULTS-FILE REFERRER [DLL]

scenario(function () {
    if (WScript.Arguments.length > 2) {
        var files = new ActiveXObject("Scripting.FileSystemObject");
        record("file_version", files.GetFileVersion(WScript.Arguments(2)));
    }
    var info = new ActiveXObject("RigelDetection_Test64.SysInfo");
    record("version", info.Version);
    info.ReferrerID = WScript.Arguments(1);
    record("sysinfo", info.SysInfo);
});
