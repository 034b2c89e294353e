#!/bin/sh
# The television host in a real window: its script, which says itself what it expects, in both ways to
# run QtWebKit; a page whose script never ends; closing while a page loads; and what it says of a
# wrong command line.
set -u
host=$1 source=$2 pictures=$3
export SDL_RENDER_DRIVER=software SDL_VIDEODRIVER=x11
failed=0

# expect STATUS TEXT ARGUMENT...: the host ends with the status, and says the text.
expect() {
  status=$1 text=$2
  shift 2
  said=$("$host" "$@" 2>&1)
  ended=$?
  case "$ended $said" in
    "$status "*"$text"*) return ;;
  esac
  echo "tv-host $*: ended with $ended and not $status, or without \"$text\": $said"
  failed=1
}

mkdir -p "$pictures"
printf 'quit\n' >"$pictures/now.script"
printf 'keys ok\nexpect loading = yes\nquit\n' >"$pictures/loading.script"
cat >"$pictures/endless.script" <<'EOF'
expect title = Endless
keys down
expect silent = yes
picture endless
keys back
expect screen = start
expect tile = Portal
keys ok
expect title = Tonight
expect silent = no
quit
EOF
echo '<title>Endless</title><script>onkeydown = function () { for (;;); }</script>' \
  >"$pictures/endless.html"
printf 'expect screen = page\nkeys nonsense\n' >"$pictures/wrong.script"
expect 0 "" --script "$source/examples/tv-host/tour.script" --pictures "$pictures"
expect 0 "" --engine-process --script "$source/examples/tv-host/tour.script" --pictures "$pictures"
expect 0 "" --engine-process --script "$pictures/endless.script" --pictures "$pictures" \
  "$pictures/endless.html"
expect 0 "" --script "$pictures/now.script" --fullscreen
expect 0 "" --script "$pictures/loading.script"
expect 2 "wrong.script:2: unknown key: nonsense" --script "$pictures/wrong.script"
expect 2 "unknown argument: --nonsense" --nonsense
expect 2 "--script needs a value" --script
expect 2 "no such folder: /no/such" --pictures /no/such
expect 2 "can't read /no/such" --script /no/such
expect 2 "no such file: /no/such" --font /no/such
DISPLAY='' expect 2 "tv-host: " --stats
exit $failed
