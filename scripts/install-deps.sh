#!/usr/bin/env bash
# Installs what the build, the tests and the benchmarks need on a fresh
# Debian machine. Packages already present are left alone.
set -eu
pkgs="cmake g++ gcc gfortran clang libgtest-dev libbenchmark-dev python3
      libopenblas-dev libqd-dev libmpfr-dev libgmp-dev binutils"
missing=""
for p in $pkgs; do
  dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q 'install ok installed' || missing="$missing $p"
done
if [ -n "$missing" ]; then
  echo "installing:$missing"
  sudo=""
  [ "$(id -u)" = 0 ] || sudo=sudo
  $sudo apt-get update -qq
  DEBIAN_FRONTEND=noninteractive $sudo apt-get install -y -qq $missing >/dev/null
fi
