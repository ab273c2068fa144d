var nothingYet = null;
Host.Echo("DONE 1 checks");

nothingYet.anything();
