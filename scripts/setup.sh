# Installs what the project needs on Debian 12. Sourced by the other scripts.
# shellcheck disable=SC2034

build_packages="g++ cmake make ninja-build help2man qtbase5-dev libqt5webkit5-dev libseccomp-dev
  qt5-style-plugins fonts-dejavu-core fonts-dejavu-extra gstreamer1.0-plugins-base
  gstreamer1.0-plugins-good"
television_packages="libsdl2-dev libsdl2-ttf-dev libpng-dev pkgconf"
test_packages="libgtest-dev libbenchmark-dev xvfb xauth openssl tinyproxy
  abigail-tools pkgconf gstreamer1.0-tools $television_packages"
docs_packages="doxygen"
package_packages="dpkg-dev file"
fuzz_packages="clang libclang-rt-14-dev"
lint_packages="clang-format clang-tidy shellcheck git"

fail() {
  echo "$(basename "$0"): $*" >&2
  exit 1
}

# Prints the comment at the head of the script and ends, if the first argument asks for it.
help_if_asked() {
  case "${1:-}" in
    -h | --help)
      sed -n '2,/^[^#]/s/^# \{0,1\}//p' "$0"
      exit 0
      ;;
  esac
}

# Whether a package is installed for this machine's own processor, or for all.
is_installed() {
  dpkg-query -W -f '${db:Status-Status} ${Architecture}\n' "$1" 2>/dev/null |
    grep -qE "^installed ($(dpkg --print-architecture)|all)$"
}

# Installs those of the named packages that are missing.
ensure_packages() {
  command -v dpkg-query >/dev/null || fail "this script sets up Debian 12; install by hand: $*"
  missing=""
  for package in "$@"; do
    is_installed "$package" || missing="$missing $package"
  done
  [ -n "$missing" ] || return 0
  sudo=""
  if [ "$(id -u)" -ne 0 ]; then
    command -v sudo >/dev/null || fail "needs root or sudo to install:$missing"
    sudo=sudo
  fi
  privileged="$sudo env DEBIAN_FRONTEND=noninteractive http_proxy=${http_proxy:-} https_proxy=${https_proxy:-} no_proxy=${no_proxy:-}"
  echo "Installing:$missing"
  $privileged apt-get update -q || fail "apt-get update failed"
  # The proxies among them are for the tests, which start them themselves: they are started neither
  # now nor with the machine. A policy that an interrupted run has left is known by its second line.
  (
    policy=/usr/sbin/policy-rc.d
    mark="# until Larka's set-up is done"
    if [ ! -e "$policy" ] || grep -qsx "$mark" "$policy"; then
      trap '$sudo rm -f "$policy"' EXIT
      trap 'exit 130' INT TERM HUP
      printf '#!/bin/sh\n%s\nexit 101\n' "$mark" | $sudo install -m 755 /dev/stdin "$policy"
    fi
    server=tinyproxy
    ! is_installed "$server" || server=""
    $privileged dpkg --configure -a || exit 1  # after an interruption
    # shellcheck disable=SC2086
    $privileged apt-get install -q -y --no-install-recommends $missing || exit 1
    [ -z "$server" ] || ! is_installed "$server" || $privileged update-rc.d "$server" disable ||
      echo "$server will start with this machine" >&2
  ) || fail "could not install:$missing"
}

# Configures a preset, and builds it (or only the named targets).
build_preset() {
  preset=$1
  shift
  mkdir -p build || fail "can't write build"
  cmake --preset "$preset" >"build/$preset.log" 2>&1 || {
    cat "build/$preset.log" >&2
    fail "configuring failed; is build/$preset yours?"
  }
  if [ $# -gt 0 ]; then
    cmake --build --preset "$preset" --target "$@" || fail "building failed"
  else
    cmake --build --preset "$preset" || fail "building failed"
  fi
}
