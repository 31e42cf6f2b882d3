' Creates the detection control by its ProgID, hands it the identifiers of a visit, detects the
' machine and writes the XML report to the file named by the second argument (UTF-16), else to
' the console.
' Usage: cscript //nologo detect.vbs [referrer] [report-file]
Option Explicit
Dim referrer, output, info, report, files, file

referrer = "demo"
output = ""
If WScript.Arguments.Count > 0 Then referrer = WScript.Arguments(0)
If WScript.Arguments.Count > 1 Then output = WScript.Arguments(1)

On Error Resume Next
' WScript.CreateObject rather than CreateObject: Wine's VBScript refuses controls that accept a
' site when the host offers none.
Set info = WScript.CreateObject("RigelDetection_Test64.SysInfo")
If Err.Number <> 0 Then
    WScript.Echo "detect.vbs: cannot create the control: " & Err.Description
    WScript.Quit 1
End If
info.Logging = "3"
info.ReferrerID = referrer
info.UserID = "demo-user"
report = info.SysInfo
If Err.Number <> 0 Then
    WScript.Echo "detect.vbs: " & Err.Description
    WScript.Quit 1
End If
On Error GoTo 0

If output <> "" Then
    Set files = CreateObject("Scripting.FileSystemObject")
    Set file = files.CreateTextFile(output, True, True)
    file.Write report
    file.Close
Else
    WScript.Echo report
End If
If Len(report) > 0 Then
    WScript.Quit 0
Else
    WScript.Quit 2
End If
