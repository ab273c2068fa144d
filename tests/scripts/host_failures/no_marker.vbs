Host.Echo "half way"
