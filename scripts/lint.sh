#!/bin/sh
# Checks what can be seen without running the code, and says what is wrong where: the format of the
# sources, shell scripts, which room of src/ uses which, how much of the code is tests, commit
# subjects, and what clang-tidy finds.
#
#   scripts/lint.sh
set -u
. "$(dirname "$0")/setup.sh"
help_if_asked "$@"
[ $# -eq 0 ] || fail "usage: scripts/lint.sh"
cd "$(dirname "$0")/.." || exit 1

# Each room of src/ with the rooms that it may use. The files at the top of src/ may use all of them.
rooms="
  host
  channel
  bridge
  cookies
  storage
  pannable
  elements channel host
  input elements host
  network host storage
  paint elements host
  plugins elements host
  page plugins
  inspector
  remote channel elements host
  engine channel
  browser bridge cookies elements host input inspector network page paint plugins remote storage
"
# The subjects of the commits after this one are checked.
subjects_after=89ef109f1145a2ce2590f18f0e7b67624ae9ad13

check_format() {
  git ls-files -z '*.cpp' '*.h' | xargs -0 clang-format --dry-run -Werror
}

# Without SC2016: a command for another shell stands in single quotes.
check_shell() {
  git ls-files -z '*.sh' .ci/run |
    xargs -0 shellcheck -f gcc -s sh -x -P SCRIPTDIR:. -e SC2016
}

check_rooms() {
  git grep -nE '^#include "[a-z]+/' -- src | awk -F '[:"]' -v rooms="$rooms" '
    BEGIN {
      count = split(rooms, lines, "\n")
      for (i = 1; i <= count; i++) {
        words = split(lines[i], word, " ")
        for (j = 2; j <= words; j++) may_use[word[1], word[j]]
      }
    }
    {
      depth = split($1, folder, "/")
      user = folder[2]
      used = substr($4, 1, index($4, "/") - 1)
      if (depth == 2 || used == user || used == "larka" || (user, used) in may_use) next
      print $1 ":" $2 ": the room " user " may not use " $4
      wrong = 1
    }
    END { exit wrong }'
}

# Lines of text that are neither blank nor all comment.
lines_of_code() {
  like_c='\.(cpp|h|js|html)$'
  {
    git ls-files -- "$@" | grep -E "$like_c" | xargs git grep -hIvE '^[[:space:]]*(//|<!--|$)' --
    git ls-files -- "$@" | grep -vE "$like_c" | xargs git grep -hIvE '^[[:space:]]*(#|$)' --
  } | wc -l
}

check_share_of_tests() {
  tests=$(lines_of_code tests)
  product=$(lines_of_code include src utils tools examples bench)
  [ $((3 * tests)) -gt "$product" ] || return 0
  echo "tests: $tests lines, more than a third of the $product lines of the product"
  return 1
}

check_subjects() {
  git cat-file -e "$subjects_after" 2>/dev/null || {
    echo "no history here: the subjects of commits were not checked"
    return 0
  }
  git log --format='%h %s' "$subjects_after.." | awk '
    {
      subject = substr($0, length($1) + 2)
      if (length(subject) <= 72 && subject ~ /^[A-Z]/ && subject !~ /\.$/) next
      print "commit " $1 ": not 72 characters at most, a capital first and no full stop: " subject
      wrong = 1
    }
    END { exit wrong }'
}

check_tidy() {
  build_preset dev larka_objects_autogen || return 1
  found=$(git ls-files -z 'src/*.cpp' 'utils/*.cpp' 'tools/*.cpp' 'examples/*.cpp' |
    xargs -0 -n 1 -P "$(nproc)" clang-tidy -p build/dev --quiet 2>&1 |
    grep -vE '^[0-9]+ warnings? (generated|treated as)')
  [ -n "$found" ] || return 0
  echo "$found"
  return 1
}

# shellcheck disable=SC2086
ensure_packages $build_packages $test_packages $lint_packages
status=0
check_format || status=1
check_shell || status=1
check_rooms || status=1
check_share_of_tests || status=1
check_subjects || status=1
check_tidy || status=1
exit $status
