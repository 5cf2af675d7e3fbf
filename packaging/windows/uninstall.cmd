@echo off
rem Stops the service and takes back what install.cmd did; nothing else is touched. Run it as an administrator; it may be
rem run again. Option: --dry-run (says what would be done).
"%~dp0hkd04a7ctl.exe" service uninstall %*
exit /b %ERRORLEVEL%
