@echo off
rem Installs the service TPMEnrollmentService from the folder in which this script lies, or brings an
rem installation by it up to this version. For a command prompt of an administrator.
rem
rem   install.cmd [/dir FOLDER] [/nostart]
rem
rem   /dir FOLDER  where the program goes; without it, where it is already, or else
rem                %ProgramFiles%\Orvix\TPMEnrollmentService
rem   /nostart     leaves the service stopped; the next start of Windows starts it
rem
rem Exit status: 0 done; 1 wrong arguments; 2 the package is not complete, or its files could not be
rem copied; 3 installed, and the service did not start; 4 the service is there and was not installed
rem by this script; 5 an administrator's rights are missing; 6 the service did not stop in time;
rem 7 the service manager refused.
rem
rem Paths are expanded outside of parentheses alone, because they may hold some themselves; and a
rem redirection stands ahead of a text, which may end in a digit.
setlocal EnableExtensions DisableDelayedExpansion

set "NAME=TPMEnrollmentService"
set "SYSTEM=%SystemRoot%\System32"
set "PROGRAMS=%ProgramFiles%"
rem In a 32-bit command prompt both names lead elsewhere.
if defined PROCESSOR_ARCHITEW6432 set "SYSTEM=%SystemRoot%\Sysnative"
if defined ProgramW6432 set "PROGRAMS=%ProgramW6432%"
rem By their whole paths: what lies in the current folder under these names is not meant.
set "SC=%SYSTEM%\sc.exe"
set "REG=%SYSTEM%\reg.exe"
set "KEY=HKLM\SYSTEM\CurrentControlSet\Services\%NAME%"
set "SOURCE=%~dp0files"
set "RECORD=%NAME%-files.txt"
set "TARGET="
set "START=yes"
set "MISSING="

:next_argument
if "%~1"=="" goto arguments_read
if /i "%~1"=="/nostart" goto argument_nostart
if /i "%~1"=="/dir" goto argument_dir
>&2 echo install.cmd: not understood: %1
goto usage
:argument_nostart
set "START="
shift
goto next_argument
:argument_dir
set "TARGET=%~2"
if not defined TARGET goto usage
shift
shift
goto next_argument
:usage
>&2 echo usage: install.cmd [/dir FOLDER] [/nostart]
exit /b 1

:arguments_read
if not exist "%SOURCE%\%RECORD%" set "MISSING=%RECORD%"
if defined MISSING goto incomplete
for /f "usebackq delims=" %%f in ("%SOURCE%\%RECORD%") do if not exist "%SOURCE%\%%f" set "MISSING=%%f"
if defined MISSING goto incomplete

rem What is registered says where an older version is.
set "OLD="
"%REG%" query %KEY% >nul 2>&1
if errorlevel 1 goto old_known
set "IMAGE="
for /f "tokens=2*" %%a in ('%REG% query %KEY% /v ImagePath') do set "IMAGE=%%b"
if not defined IMAGE goto foreign
set "IMAGE=%IMAGE:"=%"
call :folder_of "%IMAGE%"
if not exist "%OLD%\%RECORD%" goto foreign
:old_known

if not defined TARGET set "TARGET=%OLD%"
if not defined TARGET set "TARGET=%PROGRAMS%\Orvix\%NAME%"
if not "%TARGET:~-1%"=="\" goto target_trimmed
set "TARGET=%TARGET:~0,-1%"
:target_trimmed
if not "%TARGET:~1,2%"==":\" goto bad_folder
if not "%TARGET:&=%"=="%TARGET%" goto bad_folder
if not "%TARGET:^=%"=="%TARGET%" goto bad_folder
rem What cannot be copied onto itself would be undone, and the package with it.
if exist "%TARGET%\..\install.cmd" if exist "%TARGET%\..\SHA256SUMS" goto package_folder

rem The service manager is asked first, if need be for what is so already: it is the one that refuses
rem when rights are missing, and until then nothing has been changed.
if defined OLD goto bring_up
echo Installing %NAME% into "%TARGET%"
call :create
if not "%CODE%"=="0" goto refused
goto copy_files

:bring_up
echo Bringing %NAME% up to this version in "%TARGET%"
"%SC%" config %NAME% type= own error= normal >nul
set "CODE=%errorlevel%"
if not "%CODE%"=="0" goto refused
call :stop
if not "%CODE%"=="0" goto not_stopped
call :remove_files "%OLD%"
if exist "%OLD%\%NAME%.exe" goto in_use

:copy_files
if not exist "%TARGET%\" mkdir "%TARGET%" 2>nul
if not exist "%TARGET%\" goto not_copied
rem The record first: if this breaks off, it tells the next run whose the service is.
copy /y "%SOURCE%\%RECORD%" "%TARGET%\" >nul 2>&1
if errorlevel 1 goto not_copied
"%SYSTEM%\xcopy.exe" "%SOURCE%" "%TARGET%" /E /I /Q /R /Y >nul
if errorlevel 1 goto not_copied
if not exist "%TARGET%\%NAME%.exe" goto not_copied

if not defined OLD goto described
call :configure
if not "%CODE%"=="0" goto refused
rem By its program, as a folder may be told in several ways.
if not exist "%OLD%\%NAME%.exe" call :remove_record "%OLD%"
:described
"%SC%" description %NAME% "Sees the firmware TPM of this platform through its enrollment, and ends by itself when that is done." >nul
if errorlevel 1 echo note: the description could not be set
rem After a failure again, in a minute, in five and then each hour; a day without one starts anew.
"%SC%" failure %NAME% reset= 86400 actions= restart/60000/restart/300000/restart/3600000 >nul
if errorlevel 1 echo note: the recovery actions could not be set
rem An end with an error counts as a failure, not only an abnormal one.
"%SC%" failureflag %NAME% 1 >nul
if errorlevel 1 echo note: an end with an error could not be made a failure that is recovered from
if not exist "%TARGET%\OrvixVTMEkRecertification.exe" echo note: OrvixVTMEkRecertification.exe is not in this folder; see "Where to install" in TPMEnrollmentService-docs\install.md

if not defined START goto done
"%SC%" start %NAME% >nul
set "CODE=%errorlevel%"
if "%CODE%"=="0" goto done
rem 1056: it runs already.
if "%CODE%"=="1056" goto done
>&2 echo install.cmd: installed, but the service did not start: error %CODE%
>&2 echo See "When it does not start" in "%TARGET%\TPMEnrollmentService-docs\install.md".
exit /b 3
:done
echo Done.
exit /b 0

:incomplete
>&2 echo install.cmd: the package is not complete: "%SOURCE%\%MISSING%" is missing
exit /b 2
:bad_folder
>&2 echo install.cmd: not a folder for the program: "%TARGET%"
>&2 echo It takes a whole path, with a drive, without the characters ^& and ^^.
exit /b 1
:package_folder
>&2 echo install.cmd: not a folder for the program: "%TARGET%"
>&2 echo It belongs to a package. Nothing was changed.
exit /b 1
:foreign
>&2 echo install.cmd: the service %NAME% is there, and this script did not install it.
>&2 echo Remove it in the way in which it was installed, then try again. Nothing was changed.
exit /b 4
:no_rights
>&2 echo install.cmd: access is denied. This takes a command prompt of an administrator. Nothing was changed.
exit /b 5
:not_stopped
>&2 echo install.cmd: the service did not stop: error %CODE%. Nothing was changed.
exit /b 6
:in_use
>&2 echo install.cmd: "%OLD%\%NAME%.exe" is in use and could not be replaced.
>&2 echo The service is stopped; run this script again.
exit /b 6
:not_copied
>&2 echo install.cmd: the files could not be copied to "%TARGET%".
if defined OLD >&2 echo The service is registered and stopped; run this script again.
if defined OLD exit /b 2
call :remove_files "%TARGET%"
call :remove_record "%TARGET%"
"%SC%" delete %NAME% >nul
>&2 echo What had been done was undone.
exit /b 2
:refused
if "%CODE%"=="5" goto no_rights
>&2 echo install.cmd: the service manager refused: error %CODE%
if "%CODE%"=="1072" >&2 echo The service waits for its deletion: close what shows services, or start Windows anew.
exit /b 7

rem Task Scheduler must run before the service looks for its task.
:create
"%SC%" create %NAME% binPath= "\"%TARGET%\%NAME%.exe\"" type= own start= auto error= normal obj= LocalSystem depend= Schedule DisplayName= "Orvix TPM Enrollment Service" >nul
set "CODE=%errorlevel%"
exit /b

rem Whether Windows starts the service by itself is left as somebody may have set it.
:configure
"%SC%" config %NAME% binPath= "\"%TARGET%\%NAME%.exe\"" type= own error= normal obj= LocalSystem depend= Schedule DisplayName= "Orvix TPM Enrollment Service" >nul
set "CODE=%errorlevel%"
exit /b

:folder_of
set "OLD=%~dp1"
set "OLD=%OLD:~0,-1%"
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

rem Removes what an installation's record names. The record stays: an installation without one is
rem nobody's, and neither script would touch it again. The process of a service lives on for a moment
rem after it has told that it stopped.
:remove_files
if not exist "%~1\%RECORD%" exit /b
set "TRIES=20"
:remove_program
del /f /q "%~1\%NAME%.exe" >nul 2>&1
if not exist "%~1\%NAME%.exe" goto remove_rest
call :next_try
if not "%TRIES%"=="0" goto remove_program
exit /b
:remove_rest
for /f "usebackq delims=" %%f in ("%~1\%RECORD%") do if exist "%~1\%%f" del /f /q "%~1\%%f"
rd "%~1\%NAME%-docs\licences" "%~1\%NAME%-docs" >nul 2>&1
exit /b

rem Removes the record, and the folders that are empty then.
:remove_record
if exist "%~1\%RECORD%" del /f /q "%~1\%RECORD%"
rd "%~1" >nul 2>&1
if /i "%~1"=="%PROGRAMS%\Orvix\%NAME%" rd "%PROGRAMS%\Orvix" >nul 2>&1
exit /b
