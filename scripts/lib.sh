# What the scripts share: finding the tree, installing what is missing, building what is stale.
# Sourced by bash scripts that run under `set -euo pipefail`.

root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd -P)

say() { printf '%s\n' "$*" >&2; }
die() {
  say "$(basename "$0"): $*"
  exit 1
}

# need_packages PACKAGE...: installs the Debian packages that are missing. One dpkg-query when all
# are there; apt is called only when something is missing.
need_packages() {
  local missing=()
  mapfile -t missing < <(comm -13 \
    <(dpkg-query -W -f '${db:Status-Status} ${Package}\n' "$@" 2>/dev/null |
      sed -n 's/^installed //p' | sort -u) \
    <(printf '%s\n' "$@" | sort -u))
  [[ ${#missing[@]} -eq 0 ]] && return
  local as_root=()
  if [[ $(id -u) -ne 0 ]]; then
    command -v sudo >/dev/null ||
      die "please install these packages as root, there is no sudo here: ${missing[*]}"
    say "Tallowbrook is built on this machine and needs these Debian packages for it:"
    say "  ${missing[*]}"
    say "sudo may ask for your password to install them with apt-get."
    as_root=(sudo)
  else
    say "Installing the Debian packages that the build needs: ${missing[*]}"
  fi
  local log
  log=$(mktemp)
  # Package lists may be missing or stale; a second try after an update settles both.
  local install=("${as_root[@]}" env DEBIAN_FRONTEND=noninteractive apt-get install -y -q
    --no-install-recommends "${missing[@]}")
  if ! "${install[@]}" >"$log" 2>&1 </dev/null; then
    if ! { "${as_root[@]}" apt-get update -q && "${install[@]}"; } >"$log" 2>&1 </dev/null; then
      cat "$log" >&2
      rm -f "$log"
      die "apt-get could not install: ${missing[*]}"
    fi
  fi
  rm -f "$log"
}

# Installs smtp-sink, a mail server for tests, which comes with Postfix. Postfix is told to configure
# nothing, so that it runs no service. Where another mail server is installed, which Postfix would
# take the place of, the test that wants smtp-sink is skipped.
need_smtp_sink() {
  [[ -x /usr/sbin/smtp-sink ]] && return
  if [[ -e /usr/sbin/sendmail ]]; then
    say "Another mail server is installed here, so Postfix and its smtp-sink are not."
    return
  fi
  local as_root=()
  [[ $(id -u) -eq 0 ]] || as_root=(sudo)
  "${as_root[@]}" debconf-set-selections \
    <<<"postfix postfix/main_mailer_type select No configuration"
  need_packages postfix
}

# with_lock NAME COMMAND...: runs the command while no other call holds the same lock. The lock is
# not handed on to what the command starts.
with_lock() {
  local name=$1
  shift
  mkdir -p "$root/build"
  local fd
  exec {fd}>"$root/build/.$name.lock"
  flock "$fd"
  local status=0
  "$@" {fd}>&- || status=$?
  exec {fd}>&-
  return $status
}

# quietly COMMAND...: shows the output only when the command fails.
quietly() {
  local log status=0
  log=$(mktemp)
  "$@" >"$log" 2>&1 </dev/null || status=$?
  [[ $status -eq 0 ]] || cat "$log" >&2
  rm -f "$log"
  return $status
}

# True when the folder was configured from this tree with the present presets.
configured() {
  local folder=$root/build/$1
  [[ -f $folder/build.ninja ]] && cmp -s "$root/CMakePresets.json" "$folder/.presets" &&
    grep -qxF "CMAKE_HOME_DIRECTORY:INTERNAL=$root" "$folder/CMakeCache.txt"
}

configure_and_build() {
  local preset=$1
  shift
  local folder=$root/build/$preset
  if ! configured "$preset"; then
    rm -rf "$folder/CMakeCache.txt" "$folder/CMakeFiles" "$folder/.presets"
    say "Configuring the $preset build ..."
    (cd "$root" && quietly cmake --preset "$preset") || return 1
    cp "$root/CMakePresets.json" "$folder/.presets"
  fi
  if [[ ! -f $folder/.built ]]; then
    say "Building ($preset); the first time takes some minutes ..."
  fi
  quietly cmake --build "$folder" "$@" -- --quiet || return 1
  touch "$folder/.built"
}

# build PRESET [ninja options, --target NAME ...]: configures when needed and builds what is
# stale. Silent when all is well. Two calls at once take turns.
build() { with_lock "$1" configure_and_build "$@"; }

build_packages=(g++ cmake ninja-build bison re2c libcli11-dev nlohmann-json3-dev libgtest-dev)
test_packages=(clang-format clang-tidy ccache python3 python3-aiosmtpd dpkg-dev file man-db
  pkg-config tmux)
