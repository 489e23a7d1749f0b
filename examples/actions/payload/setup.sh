echo "setup.sh ran its first line" >> "$HOME/ActionsExample/Logs/setup-script.log"
echo "each line runs in a shell of its own" >> "$HOME/ActionsExample/Logs/setup-script.log"
