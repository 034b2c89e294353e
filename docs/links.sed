# Gives the guide a table of contents.
1a\
\n[TOC]

# Makes links of the names in code that the guide mentions. Doxygen reads the guide through this, and
# fails on a name that doesn't exist.
s/`(LARKA::)?(BrowserManager|ILarkaBrowser|ILarkaCallbacks|IExtraCallbacks|LarkaPluginWidget|LarkaHTMLControl)(::[A-Z][A-Za-z]*)?(\([^`"]*\))?`/@ref LARKA::\2\3 "\2\3\4"/g
s/`((KEYCODE|MODIFIER|CONTROL|DIRECTION|PROXY|MEDIA|ENGINE)_[A-Z_]+|SetStorageLimits|SetDiagnosticsHandler|SilenceDiagnostics|GetChangedRectangles|GetLoadError|SetLoadTimeLimit|TakeFrameStatistics|EvaluateScript|SetDocumentScript|SetStyleSheet|EnableMessages|PostMessageToPage|AnswerList|AnswerColor|CloseList|IsListOpen|GetTextField|InsertText|ReplaceText|DeleteText|SetTransparent|SetMaximumImageSize|SetImageFollowsResize|GetImageSize|SetDevicePixelRatio|MoveFocus|PressFocused|LeaveFullScreen|GetPluginPlace|SetCertificateChecks|AcceptCertificate|SetMediaHandedOver|GetMediaAddress|ReportMedia|AddExtraListener|RemoveExtraListener|HasRunningRequests|RefreshImage|SetEngineSettings|EndEngine|RestartEngine)`/@ref LARKA::\1 "\1"/g
s/`((Create|Destroy)Browser|(Create|Dispose)Timer|PumpEvents|RunEventLoop)(\([^`"]*\))?`/@ref LARKA::BrowserManager::\1 "\1\4"/g
s/`(On(Message|ListOpened|ListClosed|ColorOpened|ColorClosed|TextField|MediaRequest|EngineState))(\([^`"]*\))?`/@ref LARKA::IExtraCallbacks::\1 "\1\3"/g
s/`(On[A-Z][A-Za-z]*)(\([^`"]*\))?`/@ref LARKA::ILarkaCallbacks::\1 "\1\2"/g
s/`(IsVisible|SetFullScreen)(\([^`"]*\))?`/@ref LARKA::LarkaPluginWidget::\1 "\1\2"/g
s/`([A-Z][a-z]+[A-Za-z]*)(\([^`"]*\))?`/@ref LARKA::ILarkaBrowser::\1 "\1\2"/g
s!`(examples/)?((minimal|careful)-host)(\.cpp)?`![\2](\2_8cpp-example.html)!g
