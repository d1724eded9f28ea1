#!/usr/bin/env bash
# Installs what building and testing need on a Debian machine, unless it is there already. Called by run and test.
set -euo pipefail

packages=(
  g++ cmake ninja-build ccache python3
  libtinyxml2-dev libboost-dev nlohmann-json3-dev libcli11-dev
  libgtest-dev libgmock-dev libbenchmark-dev
  clang libclang-rt-dev clang-format clang-tidy
  g++-mingw-w64-x86-64-posix mingw-w64-tools wine wine64 dpkg-dev
)

missing=()
for package in "${packages[@]}"; do
  dpkg-query -W -f='${Status}' "$package" 2>/dev/null | grep -q '^install ok installed$' || missing+=("$package")
done
[ ${#missing[@]} -eq 0 ] && exit 0

sudo=()
[ "$(id -u)" -eq 0 ] || sudo=(sudo)
echo "Installing: ${missing[*]}" >&2
export DEBIAN_FRONTEND=noninteractive
"${sudo[@]}" apt-get update -qq >&2
"${sudo[@]}" apt-get install -y -qq --no-install-recommends "${missing[@]}" >/dev/null
