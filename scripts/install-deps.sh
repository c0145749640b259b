#!/usr/bin/env bash
# Installs the Debian 12 packages the build, the tests and the demo need.
# Installs nothing when everything is already there.
set -euo pipefail

packages=(
  cmake g++ make pkg-config
  libsdl2-dev libsdl2-image-dev libsoil-dev libstb-dev
  libgl-dev libegl-dev libgl1-mesa-dri libegl-mesa0 libglx-mesa0
  libgtest-dev libgmock-dev libbenchmark-dev
  xvfb xauth
  xserver-xorg-core xserver-xorg-video-dummy x11-xserver-utils libx11-dev
  sway grim
  clang libclang-rt-14-dev
)

missing=()
for package in "${packages[@]}"; do
  dpkg-query -W -f='${Status}' "$package" 2>/dev/null | grep -q "ok installed" || missing+=("$package")
done
[ ${#missing[@]} -eq 0 ] && exit 0

sudo=""
[ "$(id -u)" -eq 0 ] || sudo="sudo"
echo "Installing: ${missing[*]}"
$sudo apt-get update -qq
DEBIAN_FRONTEND=noninteractive $sudo apt-get install -y -qq --no-install-recommends "${missing[@]}"
