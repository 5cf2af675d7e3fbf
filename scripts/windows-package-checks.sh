# Checks of what is handed out: the programs themselves, the zip, and its scripts under Wine.
# Sourced by test-windows.sh; run_package_checks prints one line a check and counts it (see verdict).

HANDED_OUT=(hkd04a7-service.exe hkd04a7ctl.exe hkd04a7-example.exe hkd04a7-utility.dll hkd04a7-utility-etw.dll)

# expect_success NAME COMMAND...: the command's exit status is 0; expect_refusal NAME TEXT COMMAND...: it is not, and TEXT
# is said.
expect_success() {
  local name="$1" output good=false
  shift
  output="$("$@" 2>&1)" && good=true
  verdict "$name" "$good" "$output"
}

expect_refusal() {
  local name="$1" text="$2" output good=true
  shift 2
  output="$("$@" 2>&1)" && good=false
  # Messages are wrapped as it pleases cmake.
  [[ "$(tr -s '\n ' ' ' <<<"$output")" == *"$text"* ]] || good=false
  verdict "$name" "$good" "$output (expected: $text)"
}

imports_are_the_systems() { (cd "$BUILD/bin" && "$ROOT/scripts/check-imports.sh" "${HANDED_OUT[@]}"); }

symbols_lie_apart() {
  local file sections
  for file in "${HANDED_OUT[@]}"; do
    sections="$(x86_64-w64-mingw32-objdump -h "$BUILD/bin/$file")" || return 1
    [[ "$sections" == *.gnu_debuglink* && "$sections" != *.debug_info* ]] || { echo "$file: $sections"; return 1; }
    x86_64-w64-mingw32-objdump -h "$BUILD/symbols/$file.debug" | grep -q '\.debug_info' || {
      echo "$file: no symbols"
      return 1
    }
  done
}

# The completed stubs are text that the completion does not expect.
complete_the_stubs_again() {
  local copy="$PACKAGES/stubs"
  mkdir -p "$copy" && cp "$BUILD"/generated/hkd04a7_rpc* "$copy" || return 1
  cmake "-DHEADER=$copy/hkd04a7_rpc.h" "-DSERVER=$copy/hkd04a7_rpc_s.c" "-DCLIENT=$copy/hkd04a7_rpc_c.c" \
    -P "$ROOT/cmake/windows-complete-rpc-stubs.cmake"
}

pack() { (cd "$BUILD" && cpack -B "$PACKAGES" "$@"); }

expected_files() {
  local file
  printf '%s\n' README.md hkd04a7-service.exe hkd04a7ctl.exe install.cmd uninstall.cmd \
    example/device-extension.{cmd,inf} include/rpc/hkd04a7_rpc.{acf,idl} \
    standins/hkd04a7-utility-etw.{dll,man} standins/hkd04a7-utility.dll
  for file in "$ROOT"/docs/*; do echo "docs/${file##*/}"; done
}

zip_holds_what_it_should() {
  cmake -E tar tf "$PACKAGES/$PACKAGE.zip" | grep -v '/$' | sort >"$PACKAGES/listed"
  expected_files | sed "s|^|$PACKAGE/|" | sort | diff - "$PACKAGES/listed"
}

# run_unpacked FILE ARGS...: a script of the unpacked zip, through Wine's command interpreter.
run_unpacked() {
  local script="$1"
  shift
  (cd "$PACKAGES/$PACKAGE" && timeout -k 5 "$CASE_LIMIT" "$WINE" cmd /c "$script" "$@") >"$PACKAGES/output" 2>&1 </dev/null
  local status=$?
  tr -d '\r' <"$PACKAGES/output"
  return "$status"
}

wrapper_passes_options_on() {
  local output
  output="$(run_unpacked install.cmd --dry-run --start auto)" && [[ "$output" == *"$(basename "$PACKAGE")"* ]] || {
    echo "$output"
    return 1
  }
}

wrapper_passes_the_verdict_on() { run_unpacked uninstall.cmd --no-such-option; }

example_fills_both_tables() {
  local key='HKLM\Software\Example\0000' found
  run_unpacked 'example\device-extension.cmd' "$key" || return 1
  found="$("$WINE" reg query "$key\\Extension" /s | tr -d '\r')"
  "$WINE" reg delete 'HKLM\Software\Example' /f >/dev/null
  echo "$found"
  grep -Eq 'Quorvex\.Settings_m3tq8v0kc2wna +REG_DWORD +0x1$' <<<"$found" &&
    grep -Eq 'restart-audio +REG_MULTI_SZ +C:\\Program Files\\Quorvex\\Audio\\restart\.exe\\0-quiet' <<<"$found"
}

# The steps that docs/windows.md gives, from the unpacked zip.
documented_steps_install_it() {
  local step output words
  for step in 'copy standins\*.dll .' install.cmd 'hkd04a7ctl start' 'hkd04a7ctl query' uninstall.cmd; do
    read -ra words <<<"$step"
    output="$(run_unpacked "${words[@]}")" || { echo "$step: $output"; return 1; }
    [[ "$step" != *query || "$output" == *running* ]] || { echo "$step: $output"; return 1; }
  done
}

run_package_checks() {
  say "programs and package"
  PACKAGES="$WINEPREFIX/packages"
  mkdir -p "$PACKAGES"
  expect_success "imports and hardening of the programs" imports_are_the_systems
  expect_success "symbols lie apart from the programs" symbols_lie_apart
  expect_refusal "stubs other than expected are refused" "RPC stubs: expected" complete_the_stubs_again
  expect_refusal "version 3 is not packaged" "its first number must be 4 or more" pack -R 3.9.0
  expect_success "the zip is written" pack
  PACKAGE="$(cd "$PACKAGES" && basename hkd04a7-*-windows-x64.zip .zip)"
  expect_success "the zip holds the expected files" zip_holds_what_it_should
  expect_success "the zip unpacks" cmake -E chdir "$PACKAGES" cmake -E tar xf "$PACKAGE.zip"
  expect_success "install.cmd hands its options to the tool" wrapper_passes_options_on
  expect_refusal "uninstall.cmd hands on the tool's verdict" "--no-such-option" wrapper_passes_the_verdict_on
  expect_success "the service is installed, started and removed as documented" documented_steps_install_it
  expect_success "the example fills the device's two tables" example_fills_both_tables
}
