// Detection on a machine staged with software keys, an App Paths entry and the wireless display
// library beside the control: records the values the software and applications detectors stored.
// Usage: cscript //nologo staged_software.js RESULTS-FILE VALUE-ID...

scenario(function () {
    var info = new ActiveXObject("RigelDetection_Test64.SysInfo");
    info.Detect();
    for (var i = 1; i < WScript.Arguments.length; ++i) {
        var id = WScript.Arguments(i);
        record(id, info.Value(id));
    }
});
