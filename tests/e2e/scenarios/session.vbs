' The visit of session.js written in VBScript: the same calls give the same results.
' Usage: cscript //nologo session.vbs RESULTS-FILE
Option Explicit

Const CONFIGURATION = "<user_id>u9</user_id><referrer_id>e2e</referrer_id><groups><group index=""0"" id=""71069""><value>  a  &  b </value></group><group index=""1"" id=""71069""><value>second</value></group><group index=""0"" id=""71500""><value>not enabled</value></group><group index=""0"" id=""71207""><value>cfg-computer</value></group><group index=""0"" id=""71465""><value>No</value></group><group index=""0"" id=""71466""><value>Yes</value></group></groups>"

Dim results
results = ""

' One result per line: name, tab, length in UTF-16 units, tab, text (which may hold anything).
Sub Record(name, value)
    Dim text
    text = CStr(value)
    results = results & name & vbTab & Len(text) & vbTab & text & vbLf
End Sub

Sub Save()
    Dim files, file
    Set files = CreateObject("Scripting.FileSystemObject")
    Set file = files.CreateTextFile(WScript.Arguments(0), True, True)
    file.Write results
    file.Close
End Sub

Sub Visit()
    Dim info, missing
    ' The host's CreateObject: Wine's VBScript CreateObject refuses any object that takes a site
    ' when, as under cscript, the host offers no service provider to build one from.
    Set info = WScript.CreateObject("RigelDetection_Test64.SysInfo")
    Record "session", info.SessionID
    info.Logging = "3"
    info.Configure CONFIGURATION
    Record "referrer", info.ReferrerID
    Record "user", info.UserID

    Record "report1", info.SysInfo
    Record "report2", info.SysInfo
    Record "logging.after_sysinfo", info.Logging
    Record "computer", info.ComputerID

    Record "system", info.System("x")
    info.SysInfo = "<groups></groups>"
    Record "report.after_put", info.SysInfo

    info.Detect
    Record "logging.after_detect", info.Logging
    missing = info.Value("99999")
    Record "missing.type", TypeName(missing)
    Record "missing", missing
    Record "value.71206", info.Value("71206")
    Record "value.71069#1", info.Value("71069#1")
    Record "analysis", info.Analysis("71206", "f", "v")

    info.SessionID = "e2e-second-session"
    Record "report3", info.SysInfo
End Sub

' cscript ends an uncaught error with exit code 0, so the error is caught and reported here.
On Error Resume Next
Visit
If Err.Number <> 0 Then
    Record "error", Err.Number & " " & Err.Description
    Save
    WScript.Quit 1
End If
Save
WScript.Quit 0
