@echo off
rem Example, for trying by hand: writes the same tables as device-extension.inf below the software key of the device, which
rem is its property "Driver key" in the device manager. Nothing of this package runs it.
rem
rem   device-extension.cmd "HKLM\SYSTEM\CurrentControlSet\Control\Class\{...}\0000"
if "%~1"=="" (
  echo usage: device-extension.cmd "HKLM\SYSTEM\CurrentControlSet\Control\Class\{...}\0000"
  exit /b 2
)

rem Who: package family name = bits. Bit 0: may have the commands below run with system rights.
reg add "%~1\Extension\RestrictedRpc" /v Quorvex.Settings_m3tq8v0kc2wna /t REG_DWORD /d 1 /f
if errorlevel 1 exit /b 1

rem What: identifier = full path of the program, then its fixed parameters.
reg add "%~1\Extension\Command" /v restart-audio /t REG_MULTI_SZ /d "C:\Program Files\Quorvex\Audio\restart.exe\0-quiet" /f
if errorlevel 1 exit /b 1
