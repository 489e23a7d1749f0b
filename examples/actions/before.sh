#!/bin/sh
# Runs before the installer shows itself. It holds the installer with
# "OstrelWait" while it prepares, then lets it go on with a message.
say() { printf '%s' "$1" | xclip -selection clipboard 2>/dev/null; }

say OstrelWait
# Something an earlier version left, for the "delete" action to remove.
mkdir -p "$HOME/ActionsExample"
echo "left by an earlier version" > "$HOME/ActionsExample/obsolete.txt"
sleep 2
say "OstrelDone:The Actions Example is ready to install."
