#!/usr/bin/env bash
# Walks one installation of the actions example under a private Xvfb, by
# clicks and keys, saving a screenshot of every window, and checks what the
# programs and the actions did. Arguments: the stub executable inside the
# bundle, the example's output folder, and the bundle.
set -euo pipefail
exe="$1"
out="$2"
bundle="$3"
shots="$out/screenshots"
target_parent="$out/install"
home="$out/home"
# The one place outside out/ the run touches: the example's pre-install paths.
example=/tmp/ostrel-actions-example

here="$(cd "$(dirname "$0")" && pwd)"
. "$here/xvfb-driver.sh"
press_return() { xdotool windowfocus --sync "$1"; xdotool key --clearmodifiers Return; }

# What the pre-install actions find: an old version to remove, settings to save.
rm -rf "$example"
mkdir -p -m 700 "$example/ActionsApp-old" "$example/settings"
echo "colour = red" > "$example/settings/prefs.conf"

HOME="$home" TMPDIR="$out/tmp" "$exe" &
stub=$!

box="$(wait_window '^Install$')"   # the before-program's answer, before the window shows
shot "$box" before-program
press_return "$box"

main="$(wait_window '^Ostrel Actions Example$')"
shot "$main" main-window
click "$main" 336 208     # Install
choose_folder "$target_parent"

box="$(wait_window '^Install$')"   # the after-program's answer
shot "$box" after-program
press_return "$box"
question="$(wait_window '^Confirmation$')"
shot "$question" cleanup-question
press_return "$question"   # Yes: delete the setup when finished
wait_stub

fail() { echo "$1" >&2; exit 1; }
installed="$target_parent/ActionsApp"
diff -r "$here/../examples/actions/payload" "$installed" >/dev/null || fail "The installed tree differs from its source."
[ ! -e "$example/ActionsApp-old" ] || fail "preinstalldelete left $example/ActionsApp-old."
[ -f "$example/settings.saved/prefs.conf" ] || fail "preinstallcopy saved nothing."
for f in readme.txt Docs/guide.txt settings.conf Logs/shell-action.log Logs/setup-script.log; do
  [ -f "$home/ActionsExample/$f" ] || fail "The actions did not make $home/ActionsExample/$f."
done
[ ! -e "$home/ActionsExample/obsolete.txt" ] || fail "The delete action left obsolete.txt."
for _ in $(seq 100); do [ -e "$bundle" ] || break; sleep 0.1; done
[ ! -e "$bundle" ] || fail "The clean-up program did not remove $bundle."
rm -rf "$example"
echo "The actions example was installed at: $installed"
echo "Its actions wrote to: $home/ActionsExample; the setup bundle was removed after the installer ended."
echo "Screenshots: $shots"
