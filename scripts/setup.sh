#!/usr/bin/env bash
# Installs what building and testing need on a Debian machine, unless it is there already. Called by run and test.
set -euo pipefail

packages=(
  g++ cmake ninja-build ccache mold python3
  libtinyxml2-dev libboost-dev nlohmann-json3-dev libcli11-dev libfmt-dev
  libgtest-dev libgmock-dev libbenchmark-dev
  clang libclang-rt-dev clang-format clang-tidy
  g++-mingw-w64-x86-64-posix mingw-w64-tools wine wine64 dpkg-dev
)

find_missing() {
  missing=()
  local package
  for package in "${packages[@]}"; do
    dpkg-query -W -f='${Status}' "$package" 2>/dev/null | grep -q '^install ok installed$' || missing+=("$package")
  done
}

find_missing
[ ${#missing[@]} -eq 0 ] && exit 0

# One installation at a time; who had to wait finds less missing, or nothing.
exec 9</var/lib/dpkg
flock 9
find_missing
[ ${#missing[@]} -eq 0 ] && exit 0

sudo=()
[ "$(id -u)" -eq 0 ] || sudo=(sudo)
echo "Installing: ${missing[*]}" >&2
apt=("${sudo[@]}" env LC_ALL=C DEBIAN_FRONTEND=noninteractive apt-get -qq -o DPkg::Lock::Timeout=600)
# Others may be at it too. The package manager waits for their installing, but not for their updating.
attempts=120
until errors=$("${apt[@]}" update 2>&1 9<&-); do
  attempts=$((attempts - 1))
  if [ $attempts -eq 0 ] || [[ $errors != *"Could not get lock"* ]]; then
    echo "$errors" >&2
    exit 1
  fi
  sleep 5
done
"${apt[@]}" install -y --no-install-recommends "${missing[@]}" >/dev/null 9<&-
