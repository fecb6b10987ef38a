# shellcheck shell=bash
# What the scripts share: where things lie, one line per step, the project's own Wine prefix. Sourced, never run.
set -euo pipefail

# The real folder of the clone, however the script was called: build folders remember one path of it.
root=$(cd "$(dirname "$(readlink -f "${BASH_SOURCE[0]}")")/.." && pwd -P)
build=$root/build
me=scripts/$(basename "$0")

die() {
  printf '%s: %s\n' "$me" "$*" >&2
  exit 1
}

# --- steps -----------------------------------------------------------------------------------------------------------

# Shows that a step is alive: on a terminal its latest "n/m", elsewhere a dot now and then.
show_progress() { # title log
  local seconds=0 done_of
  while sleep 1 >/dev/null 2>&1; do
    seconds=$((seconds + 1))
    if [ -t 1 ]; then
      done_of=$(tail -c 4000 "$2" 2>/dev/null | grep -aoE '^( *|\[)[0-9]+/[0-9]+' | tail -n 1 | tr -d '[ ' || true)
      printf '\r%-46s %4d s  %s ' "$1" "$seconds" "$done_of"
    elif [ $((seconds % 5)) = 0 ]; then
      printf '.'
    fi
  done
}

# Runs a command as one line with the seconds it took; its output goes to build/LOG.log. Answers its exit code.
try_step() { # title log command...
  local title=$1 log=$build/$2.log ticker end rc=0 start=$SECONDS
  shift 2
  printf '%-46s ' "$title"
  : >"$log"
  show_progress "$title" "$log" 9>&- &
  ticker=$!
  "$@" >"$log" 2>&1 </dev/null 9>&- || rc=$?
  kill "$ticker" 2>/dev/null || true
  wait "$ticker" 2>/dev/null || true
  end='done'
  [ $rc = 0 ] || end="failed ($rc)"
  if [ -t 1 ]; then printf '\r\033[K%-46s ' "$title"; fi
  printf '%4d s  %s\n' $((SECONDS - start)) "$end"
  return $rc
}

# The same for a step that nothing can go on without: shows the end of its output when it fails.
step() { # title log command...
  local rc=0
  try_step "$@" || rc=$?
  [ $rc = 0 ] && return
  tail -n 40 "$build/$2.log" >&2
  die "failed: $1 (all of its output: build/$2.log)"
}

# Makes the build folder and keeps a second run of any script out of it until this one is through.
own_build_folder() {
  mkdir -p "$build" || die "cannot write to $build"
  exec 9>"$build/.lock"
  flock -n 9 || { echo "$me: waiting for another run in this build folder"; flock 9; }
}

configure_preset() { # preset
  local fresh=
  # A clone that was moved or copied together with its build folder starts anew instead of failing.
  if [ -e "$build/$1/CMakeCache.txt" ] &&
    ! grep -qxF "CMAKE_HOME_DIRECTORY:INTERNAL=$root" "$build/$1/CMakeCache.txt"; then
    rm -rf "${build:?}/$1"
  fi
  cd "$root"
  # Told of another compiler, CMake forgets what else a preset says, sanitizers among it.
  if [ CMakePresets.json -nt "$build/$1/CMakeCache.txt" ]; then fresh=--fresh; fi
  step "Configuring the $1 build" "configure-$1" cmake --preset "$1" ${fresh:+"$fresh"}
}

build_preset() { # preset [targets...]
  local preset=$1 targets=()
  shift
  if [ $# -gt 0 ]; then targets=(--target "$@"); fi
  configure_preset "$preset"
  step "Building the $preset build" "build-$preset" cmake --build --preset "$preset" "${targets[@]}"
}

# --- Wine ------------------------------------------------------------------------------------------------------------

export_wine_environment() {
  # The user's display authority is looked for in the home folder, which Wine is about to lose sight of.
  export XAUTHORITY="${XAUTHORITY:-${HOME:-/nonexistent}/.Xauthority}"
  # Home and prefix lie in the build folder; Wine links to the first.
  export WINEPREFIX="$build/wine-prefix" HOME="$build/wine-home"
  # Where the user has no runtime folder, Wine 10's server frees this variable's value, which is not its own, and dies.
  unset TMPDIR
  # Why a program did not start, and nothing else: -all also silences the remark about a 32-bit Wine, which nothing here
  # needs.
  export WINEDEBUG="${WINEDEBUG:--all,err+module}" WINEARCH=win64
  # No start-menu entries of Wine's for the user's desktop.
  export WINEDLLOVERRIDES="winemenubuilder.exe=d${WINEDLLOVERRIDES:+;$WINEDLLOVERRIDES}"
  # Fixed whatever the user's locale is; and without a UTF-8 locale Wine finds no file whose path is not ASCII.
  # Wine knows more locales than this shell, which would complain.
  export LC_ALL="${R5LQZ_LOCALE:-C.UTF-8}" 2>/dev/null
  mkdir -p "$HOME"
}

# Makes the prefix once; several callers at a time are let in one by one.
ensure_wine_prefix() {
  [ -e "$WINEPREFIX/.ready-on-x11" ] && return
  (
    flock 8
    [ -e "$WINEPREFIX/.ready-on-x11" ] && exit
    remove_server_folder
    rm -rf "$WINEPREFIX"
    # Neither the .NET nor the HTML engine is needed, and no dialog may offer to fetch them.
    WINEDLLOVERRIDES="$WINEDLLOVERRIDES;mscoree,mshtml=" DISPLAY='' wineboot -i 8>&- || exit 1
    # Wine 10 would look for a Wayland where there is no display, and complain.
    DISPLAY='' wine reg add 'HKCU\Software\Wine\Drivers' /v Graphics /d x11 /f 8>&- || exit 1
    # The font of dialogs as Windows has it, in its metrics: Wine takes Tahoma, which is wider, for every "MS Shell Dlg".
    # Wine 8 does not look into the folder of its own fonts, and heeds the replacement; Wine 10 finds Tahoma there.
    ln -sf /usr/share/wine/fonts/sserife.fon "$WINEPREFIX/drive_c/windows/Fonts/" || exit 1
    DISPLAY='' wine reg add 'HKCU\Software\Wine\Fonts\Replacements' /v Tahoma /d 'MS Sans Serif' /f 8>&- || exit 1
    wineserver -w 8>&- || true
    [ -d "$WINEPREFIX/drive_c/windows/system32" ] && touch "$WINEPREFIX/.ready-on-x11"
  ) 8>"$build/.wine-prefix.lock"
}

# Has Wine's server and services run already when programs come. These then start in a tenth of a second; and the
# services do not inherit a program's outputs, whose reader would wait for the end of the services. The server ends by
# itself a minute after the last program.
ensure_wine_runs() {
  wineserver -k0 >/dev/null 2>&1 && return
  (
    flock 8
    wineserver -k0 && exit
    wineserver -p60 8>&- 9>&-
    wine cmd /c exit 8>&- 9>&-
  ) 8>"$build/.wine-prefix.lock" >/dev/null 2>&1 </dev/null
}

# Takes away the folder of the socket of Wine's server, which lies outside the build folder: where the user has a
# runtime folder it is there, else in /tmp under a name that the prefix keeps.
remove_server_folder() {
  local sockets name=
  [ -d "$WINEPREFIX" ] || return 0
  sockets=/run/user/$(id -u)/wine
  if [ -d "$sockets" ]; then
    # shellcheck disable=SC2046 # two numbers
    rm -rf "$sockets/$(printf 'server-%x-%x' $(stat -c '%d %i' "$WINEPREFIX"))"
    rmdir "$sockets" 2>/dev/null || true
  fi
  [ -f "$WINEPREFIX/wineserver" ] || return 0
  read -r name <"$WINEPREFIX/wineserver" || true
  [[ ! $name =~ ^wine-[[:alnum:]]{6}$ ]] || [ ! -O "/tmp/$name" ] || rm -rf "/tmp/$name"
  rm -f "$WINEPREFIX/wineserver"
}

# Ends what still runs in the project's own prefix.
stop_wine() {
  wineserver -k >/dev/null 2>&1 || true
  wineserver -w >/dev/null 2>&1 || true
  remove_server_folder
}

# Y: a window manager sees to the frames and the focus of Wine's windows. N: Wine does so itself, as it has to on a
# display without one: it would wait two seconds for a manager's answer each time that a window closes.
manage_windows() { # Y or N
  wine reg add 'HKCU\Software\Wine\X11 Driver' /v Managed /d "$1" /f >/dev/null 2>&1 9>&- || die 'cannot start Wine'
}

# Windows need a display: one of our own, so that none appears on the user's and none depends on it.
display_server=
start_display() {
  local number
  exec 7< <(exec Xvfb -displayfd 1 -screen 0 1280x1024x24 -nolisten tcp 2>"$build/display.log" 9>&-)
  display_server=$!
  read -r -t 30 number <&7 || die 'cannot start a display for the windows (build/display.log)'
  export DISPLAY=:$number
  manage_windows N
}

stop_display() {
  [ -z "$display_server" ] || kill "$display_server" 2>/dev/null || true
}
