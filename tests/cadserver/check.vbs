' Uses the stand-in CAD server from a script: cscript //nologo check.vbs PART PREFIX
'
' Sets the BOM name of every configuration but the last to PREFIX followed by the configuration's name. Prints ASCII
' characters only, because the console may change others.
Option Explicit
Dim app, doc, conf, names, code, index
Set app = CreateObject("SldWorks.Application.30")
WScript.Echo "date code " & app.GetDateCode()

app.SetDocumentVisibility False, CLng(1)
code = CLng(-1)
Set doc = app.OpenDocument(WScript.Arguments(0), CLng(1), False, False, True, code)
WScript.Echo "open code " & code
WScript.Echo "count " & doc.GetConfigurationCount()

names = doc.GetConfigurationNames()
WScript.Echo "names " & TypeName(names) & " " & LBound(names) & " to " & UBound(names)
For index = LBound(names) To UBound(names)
    WScript.Echo "configuration of " & Len(names(index)) & " characters, " & Left(names(index), 2) & "..."
    Set conf = doc.GetConfiguration(names(index))
    If index < UBound(names) Then
        conf.UseAlternativeBomName = True
        conf.AlternativeBomName = WScript.Arguments(1) & names(index)
    Else
        conf.UseAlternativeBomName = False
    End If
    Set conf = Nothing
Next

WScript.Echo "unknown is nothing: " & (doc.GetConfiguration("no such") Is Nothing)
WScript.Echo "open " & app.OpenDocumentNames()
WScript.Echo "save " & doc.Save(True)
Set doc = Nothing
app.CloseDocument WScript.Arguments(0)
WScript.Echo "open after closing '" & app.OpenDocumentNames() & "'"
app.SetDocumentVisibility True, CLng(1)
app.Exit
Set app = Nothing
