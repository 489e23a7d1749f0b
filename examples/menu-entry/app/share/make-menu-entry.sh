#!/bin/sh
# Run by the installer after the payload is in place: writes the menu entry
# for the installation in $OSTREL_INSTALL_FOLDER. Exec and Icon are absolute
# paths into it; a path with blanks is quoted as the desktop entry format asks.
set -e
[ -n "$OSTREL_INSTALL_FOLDER" ] || exit 1
apps="${XDG_DATA_HOME:-$HOME/.local/share}/applications"
mkdir -p "$apps"
entry="$apps/org.example.AcmeNotes.desktop"
tmp="$entry.new"
cat >"$tmp" <<ENTRY
[Desktop Entry]
Type=Application
Name=Acme Notes
Comment=Take notes
Exec="$OSTREL_INSTALL_FOLDER/bin/acme-notes"
Icon=$OSTREL_INSTALL_FOLDER/share/acme-notes.svg
Terminal=false
Categories=Utility;
ENTRY
mv "$tmp" "$entry"
