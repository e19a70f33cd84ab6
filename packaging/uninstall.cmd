@echo off
rem Removes the service TPMEnrollmentService that install.cmd has installed, wherever it is, with its
rem files and its scheduled task. The configuration is left. For a command prompt of an
rem administrator.
rem
rem Exit status: 0 done, or nothing was there; 1 wrong arguments; 2 something could not be removed;
rem 4 the service was not installed by the script; 5 an administrator's rights are missing; 6 the
rem service did not stop in time; 7 the service manager refused.
rem
rem Paths are expanded outside of parentheses alone, because they may hold some themselves; and a
rem redirection stands ahead of a text, which may end in a digit.
setlocal EnableExtensions DisableDelayedExpansion

set "NAME=TPMEnrollmentService"
set "TASK=Orvix VTM EK Recertification"
set "SYSTEM=%SystemRoot%\System32"
rem In a 32-bit command prompt this name leads elsewhere.
if defined PROCESSOR_ARCHITEW6432 set "SYSTEM=%SystemRoot%\Sysnative"
rem By their whole paths: what lies in the current folder under these names is not meant.
set "SC=%SYSTEM%\sc.exe"
set "REG=%SYSTEM%\reg.exe"
set "KEY=HKLM\SYSTEM\CurrentControlSet\Services\%NAME%"
set "RECORD=%NAME%-files.txt"
set "SELF=%NAME%-uninstall.cmd"
set "LEFT="
if not "%~1"=="" goto usage

rem The service is where it is registered. If it is registered no more, a removal has broken off,
rem and the files are beside this script.
set "PLACE="
"%REG%" query %KEY% >nul 2>&1
if errorlevel 1 goto not_registered
set "IMAGE="
for /f "tokens=2*" %%a in ('%REG% query %KEY% /v ImagePath') do set "IMAGE=%%b"
if not defined IMAGE goto foreign
set "IMAGE=%IMAGE:"=%"
call :folder_of "%IMAGE%"
if not exist "%PLACE%\%RECORD%" goto foreign

echo Removing %NAME% from "%PLACE%"
rem The service manager is asked for what is so already: it is the one that refuses when rights are
rem missing, and until then nothing has been changed.
"%SC%" config %NAME% type= own error= normal >nul
set "CODE=%errorlevel%"
rem 1072: it waits for its deletion already.
if "%CODE%"=="1072" goto unregistered
if not "%CODE%"=="0" goto refused
call :stop
if not "%CODE%"=="0" goto not_stopped
"%SC%" delete %NAME% >nul
set "CODE=%errorlevel%"
if not "%CODE%"=="0" goto refused
goto unregistered

:not_registered
call :folder_of "%~f0"
rem Beside this script the files of a package lie as those of an installation do; they are not one.
if exist "%PLACE%\..\install.cmd" if exist "%PLACE%\..\SHA256SUMS" goto in_package
if exist "%PLACE%\%RECORD%" if exist "%PLACE%\%SELF%" goto unregistered
:in_package
echo %NAME% is not installed.
exit /b 0

:unregistered
rem The task names a program in a folder that may be gone, so it goes with the service.
if not exist "%SYSTEM%\Tasks\%TASK%" goto task_gone
"%SYSTEM%\schtasks.exe" /delete /tn "%TASK%" /f >nul 2>&1
if exist "%SYSTEM%\Tasks\%TASK%" set "LEFT=the scheduled task %TASK%"
:task_gone

set "TRIES=20"
:remove_program
rem The process of a service lives on for a moment after it has told that it stopped.
del /f /q "%PLACE%\%NAME%.exe" >nul 2>&1
if not exist "%PLACE%\%NAME%.exe" goto remove_rest
call :next_try
if not "%TRIES%"=="0" goto remove_program
set "LEFT=%PLACE%\%NAME%.exe"
goto leftovers
:remove_rest
for /f "usebackq delims=" %%f in ("%PLACE%\%RECORD%") do if /i not "%%f"=="%SELF%" if exist "%PLACE%\%%f" del /f /q "%PLACE%\%%f"
for /f "usebackq delims=" %%f in ("%PLACE%\%RECORD%") do if /i not "%%f"=="%SELF%" if exist "%PLACE%\%%f" set "LEFT=%PLACE%\%%f"
rd "%PLACE%\%NAME%-docs\licences" >nul 2>&1
rd "%PLACE%\%NAME%-docs" >nul 2>&1
if defined LEFT goto leftovers
del /f /q "%PLACE%\%RECORD%" >nul 2>&1
echo Done.

set "PARENT="
if /i "%PLACE%"=="%ProgramFiles%\Orvix\%NAME%" set "PARENT=%ProgramFiles%\Orvix"
if defined ProgramW6432 if /i "%PLACE%"=="%ProgramW6432%\Orvix\%NAME%" set "PARENT=%ProgramW6432%\Orvix"
rem Nobody can remove the folder in which he stands.
cd /d "%SystemRoot%"
if /i "%~f0"=="%PLACE%\%SELF%" goto remove_self
del /f /q "%PLACE%\%SELF%" >nul 2>&1
rd "%PLACE%" >nul 2>&1
if defined PARENT rd "%PARENT%" >nul 2>&1
exit /b 0

rem The empty goto ends the script, of which nothing more is read; the rest of the line is still done.
:remove_self
(goto) 2>nul & del /f /q "%PLACE%\%SELF%" & rd "%PLACE%" 2>nul & rd "%PARENT%" 2>nul & cmd /c exit 0
rem For a command interpreter that goes on after an empty goto.
exit /b 0

:usage
>&2 echo usage: uninstall.cmd
exit /b 1
:foreign
>&2 echo uninstall.cmd: the service %NAME% is there, and install.cmd did not install it.
>&2 echo Remove it in the way in which it was installed. Nothing was changed.
exit /b 4
:no_rights
>&2 echo uninstall.cmd: access is denied. This takes a command prompt of an administrator. Nothing was changed.
exit /b 5
:not_stopped
>&2 echo uninstall.cmd: the service did not stop: error %CODE%. Nothing was changed; try again.
exit /b 6
:refused
if "%CODE%"=="5" goto no_rights
>&2 echo uninstall.cmd: the service manager refused: error %CODE%
exit /b 7
:leftovers
>&2 echo uninstall.cmd: could not be removed: "%LEFT%"
>&2 echo The service is removed; run "%PLACE%\%SELF%" again.
exit /b 2

:folder_of
set "PLACE=%~dp1"
set "PLACE=%PLACE:~0,-1%"
exit /b

rem A minute: a stop waits for the client library to finish what it does.
:stop
set "CODE=0"
set "TRIES=60"
"%SC%" query %NAME% | "%SYSTEM%\find.exe" "STOPPED" >nul
if not errorlevel 1 exit /b
:stop_ask
"%SC%" stop %NAME% >nul
set "CODE=%errorlevel%"
rem 1062: it does not run. 1053: the request is on its way, and the service has not answered yet.
if "%CODE%"=="1062" set "CODE=0"
if "%CODE%"=="0" goto stop_wait
if "%CODE%"=="1053" goto stop_wait
rem 1061: it takes no request while it starts or stops.
if not "%CODE%"=="1061" exit /b
call :next_try
if not "%TRIES%"=="0" goto stop_ask
exit /b
:stop_wait
set "CODE=0"
"%SC%" query %NAME% | "%SYSTEM%\find.exe" "STOPPED" >nul
if not errorlevel 1 exit /b
set "CODE=1053"
call :next_try
if not "%TRIES%"=="0" goto stop_wait
exit /b

rem Waits a second. TRIES says how many are left.
:next_try
set /a TRIES-=1
"%SYSTEM%\ping.exe" -n 2 127.0.0.1 >nul
exit /b
