@echo off
rem Registers the service that lies beside this file and records its version. Run it as an administrator; it may be run
rem again. Options go to the tool: --start demand|auto, --program PATH, --dry-run (says what would be done).
"%~dp0hkd04a7ctl.exe" service install %*
exit /b %ERRORLEVEL%
