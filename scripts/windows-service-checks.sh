# Checks of the service as the control manager of Wine runs it, from its installation to its removal.
# Sourced by test-windows.sh, which has Wine up; run_service_checks prints one line a check and counts it.

KEY='HKLM\Software\Quorvex\HKD04A7'
# Where the service is installed; PLACE is the same folder as Linux sees it.
PLACE_THERE='C:\Program Files\HKD04A7'

# What Wine cannot show: what, and why.
NOT_SHOWN='
failure actions  the control manager keeps none
power and session controls from the system  nobody sends any; user-defined ones stand in for them
an automatic service that stays up after a boot  the endpoint map is not started before it
a completion port that cannot be made  nothing makes the call fail
a wait that is left pending  it is answered at once, with rubbish
a granted run-as-system request  there are no packages
an event that starts the program in a session  there are no active sessions
a message that reaches an app service  the classes of the runtime are missing
trace events in a trace session  there are no trace sessions; the library writes its log instead
'

verdict() {
  local name="$1" good="$2" output="$3"
  if "$good"; then
    echo "passed   $name"
    passed=$((passed + 1))
  else
    printf 'FAILED   %s\n%s\n' "$name" "$output"
    failed=$((failed + 1))
  fi
}

# check NAME STATUS TEXT PROGRAM ARGS...: the program ends with this status and prints this text.
check() {
  local name="$1" expected="$2" text="$3" output status good=false
  shift 3
  output="$(run_windows "$@")"
  status=$?
  [[ "$status" -eq "$expected" && "$output" == *"$text"* ]] && good=true
  verdict "$name" "$good" "$output (status $status, expected $expected and: $text)"
}

tool() { run_windows hkd04a7ctl.exe "$@" >/dev/null; }
check_tool() { check "${@:1:3}" hkd04a7ctl.exe "${@:4}"; }

# check_trace NAME COUNT PATTERN: so many of the trace's records match, within some seconds.
check_trace() {
  local name="$1" expected="$2" pattern="$3" found good=false
  for _ in {1..50}; do
    found="$(grep -c "$pattern" "$PLACE/hkd04a7-utility-etw.log")"
    [[ "$found" -ge "$expected" ]] && break
    sleep 0.1
  done
  [[ "$found" -eq "$expected" ]] && good=true
  verdict "$name" "$good" "$found records instead of $expected match $pattern: $(<"$PLACE/hkd04a7-utility-etw.log")"
}

generic() { echo "\"WriteHkd04a7Event\".*\"args\":\\[$1\\]"; }

# An empty log asks the tracing library for a readable copy of the trace.
place_programs() {
  local bin="$BUILD/bin" variant
  PLACE="$WINEPREFIX/drive_c/Program Files/HKD04A7"
  mkdir -p "$PLACE"
  cp "$bin/hkd04a7-service.exe" "$bin/controlled-service.exe" "$bin/hkd04a7-utility"{,-etw}.dll "$PLACE"
  : >"$PLACE/hkd04a7-utility-etw.log"
  cat >"$PLACE/hkd04a7-utility.script" <<'SCRIPT'
0x1000 0 0 0 = 0x1F*
0x1000 1 0 0 = 0x5, 0*
0x1000 2 0 0 = 0x4*
0x1002 0 0 0 = 3*
0x1002 1 0 0 = 0*
0x1002 2 0 0 = 0x40000401*
0x2001 1 2 3 = 0x00C0FFEE*
SCRIPT
  for variant in utility-lacks-export etw-open-fails no-library; do
    mkdir -p "$PLACE/$variant"
    cp "$bin/controlled-service.exe" "$PLACE/$variant"
    [[ "$variant" == no-library ]] || cp "$bin/variants/$variant/"*.dll "$PLACE/$variant"
    cp "$PLACE/hkd04a7-utility.script" "$PLACE/hkd04a7-utility-etw.log" "$PLACE/$variant"
  done
}

install_from() { tool service install --program "$PLACE_THERE\\$1"; }

check_installation() {
  local program="$PLACE_THERE\\hkd04a7-service.exe"
  check_tool 'a dry installation tells its steps' 0 "would register" service install --dry-run --program "$program"
  check_tool 'a dry installation takes none' 1 1060 query
  check_tool 'a program that is not there is not installed' 1 'there is no such file' service install --program 'C:\none.exe'
  check_tool 'the service is installed' 0 "own process, LocalSystem, demand start, runs \"$program\" -service" \
    service install --program "$program"
  check_tool 'it is installed once more, as automatic' 0 "change the service" service install --start auto --program "$program"
  check_tool 'what was installed is there' 0 "start      automatic"$'\n'"  program    \"$program\" -service"$'\n'"  version    4." \
    query
  check_boot
}

# Whether it stays up is another matter: Wine does not start the endpoint map before the automatic services.
check_boot() {
  local state='' good=false
  end_wine_programs
  wine_server -p
  for _ in {1..40}; do
    state="$(run_windows hkd04a7ctl.exe query)"
    [[ "$state" == *running,* || "$state" == *'stopped, exit code 0'* ]] && good=true && break
    sleep 0.5
  done
  verdict 'the automatic service is started at a boot' "$good" "$state"
  tool start
}

check_control() {
  check_tool 'a running service is not started again' 1 1056 start
  check 'the control manager says that it runs' 0 RUNNING sc query Hkd04a7DriverUtilityService
  check_tool 'it stops' 0 'stopped, exit code 0' stop
  check_tool 'a stopped service is not stopped' 3 1062 stop
  check_tool 'it starts again' 0 'running, process' start
  check 'the system stops it' 0 'stopped successfully' net stop Hkd04a7DriverUtilityService
  check 'the system starts it' 0 'started successfully' net start Hkd04a7DriverUtilityService
  check 'no install location where a version is installed' 1 '' reg query "$KEY" /v InstPath /reg:64
  check 'nor in the 32-bit view' 1 '' reg query "$KEY" /v InstPath /reg:32
}

check_calls() {
  local app=(Quorvex.Panel_m3tq8v0kc2wna panel --event 33 --data1 3)
  check_tool 'a device session calls a function' 0 'answered 0x00C0FFEE' call 0x2001 1 2 3
  check_tool 'the wake-up status of the button' 0 0x40000401 wakeup one-touch
  check_tool 'the wake-up status of the switch' 0 0x00000004 wakeup switch
  check_tool 'an app service is registered' 0 registered app register "${app[@]}"
  check_tool 'it is found' 0 'is registered' app query "${app[@]}"
  check_tool 'it is unregistered' 0 unregistered app unregister "${app[0]}" "${app[@]:2}"
  check_tool 'it is not found then' 1 'ERROR_FILE_NOT_FOUND' app query "${app[@]}"
  check_tool 'a program without package runs nothing as system' 1 0x80070005 run-as-system leave 7
}

# 13 and 14 are the system's own; 128 and 192 onward stand for its power and session events.
check_controls() {
  tool stop
  install_from controlled-service.exe
  : >"$PLACE/hkd04a7-utility-etw.log"
  check_tool 'a service that shows its controls starts' 0 'running, process' start
  check 'controls are answered' 0 $'4: 0\n2: 1052\n13: 87\n14: 87' service_control.exe send 4 2 13 14
  check_trace 'the start is announced' 1 "$(generic 37,0,0)"
  check_trace 'pending switches are told' 1 "$(generic 3,5,0)"
  check 'a client finds an event queued, over a sleep' 0 'event 41, 5, 7' service_control.exe queued-event
  check_trace 'one resume is announced once' 2 "$(generic 37,0,0)"
  check 'the machine goes to sleep' 0 '132: 0' service_control.exe send 132
  check_tool 'the wake-up status is not known then' 1 0x800705B4 wakeup one-touch
  check 'it resumes, and a user locks' 0 $'135: 0\n146: 0\n199: 0' service_control.exe send 135 146 199
  check_trace 'the lock is told' 1 "$(generic 41,7,7)"
  check_trace 'and the resume once before it' 3 "$(generic 37,0,0)"
  check_tool 'the wake-up status is known again' 0 0x40000401 wakeup one-touch
  check 'a user logs off' 0 '198: 0' service_control.exe send 198
  check_tool 'the wake-up status is cleared' 0 0x00000000 wakeup one-touch
  check_tool 'it stops' 0 'stopped, exit code 0' stop
}

check_location() {
  local folder=$'\n'"    InstPath    REG_SZ    $PLACE_THERE"
  check "$1: start" 0 'running, process' hkd04a7ctl.exe start
  check "$1: library and folder, 64-bit view" 0 "REG_SZ    hkd04a7-utility.dll$folder" reg query "$KEY" /reg:64
  check "$1: library and folder, 32-bit view" 0 "REG_SZ    hkd04a7-utility-x86.dll$folder" reg query "$KEY" /reg:32
  tool stop
}

check_install_location() {
  run_windows reg delete "$KEY" /v CurrentVersion /f >/dev/null
  check_location 'no version'
  run_windows reg add "$KEY" /v DllName /d mine /f >/dev/null
  tool start
  check 'the same folder is not written again' 0 mine reg query "$KEY" /v DllName /reg:64
  tool stop
  forget_registry
  run_windows reg add "$KEY" /v CurrentVersion /d '' /f >/dev/null
  check_location 'empty version'
}

check_version_guard() {
  tool service install --start auto --program "$PLACE_THERE\\controlled-service.exe"
  run_windows reg add "$KEY" /v CurrentVersion /d 3.0.1.0 /f >/dev/null
  : >"$PLACE/hkd04a7-utility-etw.log"
  check_tool 'an old version: the service ends well' 0 'stopped, exit code 0' start
  check_tool 'an old version: it starts on demand only' 0 'start      demand' query
  check_trace 'an old version: nothing is traced' 0 .
}

# check_without_device FOLDER WHAT CODE
check_without_device() {
  install_from "$1\\controlled-service.exe"
  check_tool "$2: the service runs" 0 'running, process' start
  check_tool "$2: a device session fails" 1 "$3" call 0x2001 1 2 3
  check "$2: a session's notice is taken" 0 '197: 0' service_control.exe send 197
  check_tool "$2: and ends the service" 0 'stopped, exit code 0' query
}

check_without_tracing() {
  install_from 'etw-open-fails\controlled-service.exe'
  check_tool 'no tracing: the service runs' 0 'running, process' start
  check_tool 'no tracing: the device answers' 0 0x00C0FFEE call 0x2001 1 2 3
  check 'no tracing: events are delivered' 0 'event 41, 5, 7' service_control.exe queued-event
  check_tool 'no tracing: it stops' 0 'stopped, exit code 0' stop
}

# A program that still has the event of a stopped service open keeps the next start from making it.
check_event_held() {
  install_from hkd04a7-service.exe
  tool start
  check 'the wake-check event is held: code 190' 1 'exit code 1066 (ERROR_SERVICE_SPECIFIC_ERROR' \
    service_control.exe hold cmd /c 'hkd04a7ctl stop & hkd04a7ctl start'
  check_tool 'the service says so' 0 'service code 190' query
  check_tool 'once it is let go the service starts' 0 'running, process' start
}

check_program() {
  check 'client mode ends well' 0 '' hkd04a7-service.exe -appservice -event 5 -data1 1 -data2 2
  check 'nobody else starts the service' 255 '' hkd04a7-service.exe -service
}

check_removal() {
  check_tool 'a dry removal tells its steps' 0 'would stop the service' service uninstall --dry-run
  check_tool 'a dry removal takes none' 0 'running, process' query
  check_tool 'the running service is removed' 0 'remove the service' service uninstall
  check_tool 'there is none then' 1 1060 query
  check 'nor its version' 1 '' reg query "$KEY" /v CurrentVersion /reg:64
  check 'all else stays' 0 DllName reg query "$KEY" /v DllName /reg:64
  check_tool 'a second removal finds nothing' 0 'nothing is installed' service uninstall
}

forget_registry() {
  local view
  for view in 32 64; do run_windows reg delete 'HKLM\Software\Quorvex' /f "/reg:$view" >/dev/null; done
}

list_not_shown() {
  local line
  while IFS= read -r line; do
    [[ -n "$line" ]] || continue
    echo "skipped  $line"
    skipped=$((skipped + 1))
  done <<<"$NOT_SHOWN"
}

run_service_checks() {
  say "the service under the control manager"
  place_programs
  check_installation
  check_control
  check_calls
  check_controls
  check_install_location
  check_version_guard
  check_without_device no-library 'no device library' 0x8007007E
  check_without_device utility-lacks-export 'a library without one export' 0x8007007F
  check_without_tracing
  check_event_held
  check_program
  check_removal
  forget_registry
  list_not_shown
}
