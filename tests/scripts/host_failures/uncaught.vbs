Dim nothingYet
Set nothingYet = Nothing
nothingYet.Anything
Host.Echo "DONE 1 checks"
