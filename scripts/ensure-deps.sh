#!/usr/bin/env bash
# Installs the Debian packages the project builds, runs and tests with, when
# any of them is missing. Safe to run again: it does nothing when all are there.
set -euo pipefail

packages=(
  build-essential cmake ninja-build ccache pkg-config
  qt6-base-dev libgl-dev
  libarchive-dev libdeflate-dev zlib1g-dev libssl-dev ca-certificates
  libgtest-dev libgmock-dev
  xvfb xdotool x11-utils imagemagick fonts-dejavu-core xclip
  unzip zip libarchive-tools curl bubblewrap desktop-file-utils
)

missing=()
for p in "${packages[@]}"; do
  dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed" || missing+=("$p")
done
[ ${#missing[@]} -eq 0 ] && exit 0

echo "Installing missing packages: ${missing[*]}"
sudo=""
[ "$(id -u)" -ne 0 ] && sudo="sudo"
export DEBIAN_FRONTEND=noninteractive
$sudo apt-get update -qq
$sudo apt-get install -y -qq --no-install-recommends "${missing[@]}" >/dev/null
