# Debian 12 roots of either processor on this machine, in build/roots. Sourced by the other scripts,
# after setup.sh and in the project's folder.

as_root=
if [ "$(id -u)" -ne 0 ]; then
  command -v sudo >/dev/null || fail "needs root or sudo for a root of its own"
  as_root=sudo
fi
case "$PWD" in
  *[[:space:]]*) fail "a root can't be made in a folder whose path has blanks: $PWD" ;;
esac

# The mirror of Debian 12 that this machine installs from. It is also all that the roots install
# from: each architecture's updates come at their own time.
mirror() {
  apt-get indextargets --format '$(SITE) $(RELEASE)' |
    awk '$1 ~ /^https?:/ && $2 ~ /^(bookworm|stable|oldstable)$/ {print $1; exit}'
}

# Makes build/roots/ARCHITECTURE, a bare Debian 12, unless it is there. What is mounted meanwhile is
# gone with it, however it ends.
make_bare_root() {
  bare=build/roots/$1
  [ ! -e "$bare" ] || return 0
  ensure_packages debootstrap
  site=$(mirror)
  [ -n "$site" ] || fail "apt knows no http mirror of Debian 12"
  echo "Making a bare Debian 12 for $1 in $bare"
  mkdir -p build/roots || fail "can't write build/roots"
  $as_root rm -rf --one-file-system "$bare.new" || fail "can't remove $bare.new"
  $as_root env http_proxy="${http_proxy:-}" https_proxy="${https_proxy:-}" no_proxy="${no_proxy:-}" \
    unshare --mount --propagation private debootstrap --arch="$1" --variant=minbase \
    --include=ca-certificates bookworm "$bare.new" "$site" >"build/roots/$1.log" 2>&1 ||
    fail "debootstrap failed: $(tail -n 1 "build/roots/$1.log") (see build/roots/$1.log)"
  # How the network is reached is the machine's affair, with the files that say so.
  settings=$(apt-config dump Acquire | grep -E '^Acquire::(Check-|Retries|ForceIPv|https?::)')
  printf '%s\n' "$settings" | $as_root tee "$bare.new/etc/apt/apt.conf.d/10machine" >/dev/null
  for file in /etc/apt/auth.conf /etc/apt/auth.conf.d \
    $(printf '%s\n' "$settings" | sed -n 's|.* "\(/[^" ]*\)";$|\1|p'); do
    [ ! -e "$file" ] || $as_root cp -rL --parents "$file" "$bare.new"
  done
  printf '#!/bin/sh\nexit 101\n' | $as_root install -m 755 /dev/stdin "$bare.new/usr/sbin/policy-rc.d"
  $as_root mv "$bare.new" "$bare"
}

# Makes ROOT a fresh copy of the bare root of ARCHITECTURE.
copy_bare_root() {
  make_bare_root "$1"
  $as_root rm -rf --one-file-system "$2" "$2.new" || fail "can't remove $2"
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
  $as_root env http_proxy="${http_proxy:-}" https_proxy="${https_proxy:-}" no_proxy="${no_proxy:-}" \
    unshare --mount --propagation private sh -euc '
    root=$1 build=$2 personality=$3
    shift 3
    mkdir -p "$root/larka"
    mount -t proc proc "$root/proc"
    mount --rbind /dev "$root/dev"
    mount --bind . "$root/larka"
    mount --bind "$build" "$root/larka/build"
    exec chroot "$root" env -i HOME=/root LANG=C.UTF-8 TERM="${TERM:-dumb}" \
      http_proxy="${http_proxy:-}" https_proxy="${https_proxy:-}" no_proxy="${no_proxy:-}" \
      PATH=/usr/local/sbin:/usr/local/bin:/usr/sbin:/usr/bin:/sbin:/bin \
      $personality sh -c "cd /larka && exec \"\$@\"" sh "$@"' \
    sh "$root" "$build" "$personality" "$@"
}
