# Debian 12 roots of either processor on this machine, in build/roots. Sourced by the other scripts,
# after setup.sh and in the project's folder.

as_root=
[ "$(id -u)" -eq 0 ] || as_root=sudo

# The mirror that this machine installs from.
mirror() {
  apt-get indextargets --format '$(SITE) $(RELEASE)' | awk '$2 ~ /^(bookworm|stable)$/ {print $1; exit}'
}

# Makes build/roots/ARCHITECTURE, a bare Debian 12, unless it is there.
make_bare_root() {
  bare=build/roots/$1
  [ ! -e "$bare" ] || return 0
  ensure_packages debootstrap
  site=$(mirror)
  [ -n "$site" ] || fail "apt knows no mirror of Debian 12"
  echo "Making a bare Debian 12 for $1 in $bare"
  mkdir -p build/roots
  $as_root rm -rf "$bare.new"
  $as_root debootstrap --arch="$1" --variant=minbase --include=ca-certificates bookworm "$bare.new" \
    "$site" >"build/roots/$1.log" 2>&1 || fail "debootstrap failed: see build/roots/$1.log"
  # How the network is reached is the machine's affair.
  apt-config dump Acquire | grep -E '^Acquire::(Check-|Retries|ForceIPv|https?::)' |
    $as_root tee "$bare.new/etc/apt/apt.conf.d/10machine" >/dev/null
  [ ! -d /etc/apt/auth.conf.d ] || $as_root cp -r /etc/apt/auth.conf.d "$bare.new/etc/apt/"
  printf '#!/bin/sh\nexit 101\n' | $as_root install -m 755 /dev/stdin "$bare.new/usr/sbin/policy-rc.d"
  $as_root mv "$bare.new" "$bare"
}

# Makes ROOT a fresh copy of the bare root of ARCHITECTURE.
copy_bare_root() {
  make_bare_root "$1"
  $as_root rm -rf "$2" "$2.new"
  $as_root cp -a "build/roots/$1" "$2.new" || fail "could not copy build/roots/$1"
  $as_root mv "$2.new" "$2"
}

# Runs COMMAND in ROOT, in its folder /larka: the project, with BUILD in the place of its build
# folder. What is mounted for it goes with it.
in_root() {
  root=$(realpath "$1") build=$2
  shift 2
  mkdir -p "$build"
  $as_root cp /etc/resolv.conf /etc/hosts "$root/etc/" 2>/dev/null
  personality=
  [ "$($as_root chroot "$root" dpkg --print-architecture)" = amd64 ] || personality="setarch i686"
  $as_root unshare --mount --propagation private sh -euc '
    root=$1 build=$2 personality=$3
    shift 3
    mkdir -p "$root/larka"
    mount -t proc proc "$root/proc"
    mount --rbind /dev "$root/dev"
    mount --bind . "$root/larka"
    mount --bind "$build" "$root/larka/build"
    exec chroot "$root" env -i HOME=/root LANG=C.UTF-8 TERM="${TERM:-dumb}" \
      PATH=/usr/local/sbin:/usr/local/bin:/usr/sbin:/usr/bin:/sbin:/bin \
      $personality sh -c "cd /larka && exec \"\$@\"" sh "$@"' \
    sh "$root" "$build" "$personality" "$@"
}
