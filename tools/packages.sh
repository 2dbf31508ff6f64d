# Installs the Debian packages that are missing. Sourced by run, test and .ci/run.
# shellcheck shell=bash

packages_to_build=(
  ca-certificates g++ cmake ninja-build ccache
  libasio-dev libbenchmark-dev libbz2-dev libcli11-dev libfmt-dev libgtest-dev liblzma-dev libsqlite3-dev
  libsqlitecpp-dev libzstd-dev nlohmann-json3-dev zlib1g-dev
)
packages_to_check=(
  clang clang-format clang-tidy libclang-rt-14-dev
  g++-aarch64-linux-gnu qemu-user-static
  libc6:arm64 libstdc++6:arm64 libbz2-dev:arm64 libfmt-dev:arm64 libgtest-dev:arm64 liblzma-dev:arm64
  libsqlite3-dev:arm64 libsqlitecpp-dev:arm64 libzstd-dev:arm64 zlib1g-dev:arm64
)

# A package may be there for both architectures: unless it says which, this machine's counts.
is_installed() {
  local architecture=$(dpkg --print-architecture)
  [[ $1 == *:* ]] && architecture=${1#*:}
  dpkg-query -W -f='${Architecture} ${db:Status-Status}\n' "${1%:*}" 2>/dev/null |
    grep -qxE "($architecture|all) installed"
}

install_packages() {
  local missing=() package as_root=()
  for package in "$@"; do
    is_installed "$package" || missing+=("$package")
  done
  [ ${#missing[@]} -eq 0 ] && return 0
  [ "$(id -u)" -eq 0 ] || as_root=(sudo)
  echo "Installing ${missing[*]}" >&2
  if [[ " ${missing[*]} " == *:arm64* ]]; then
    "${as_root[@]}" dpkg --add-architecture arm64 >&2
  fi
  "${as_root[@]}" apt-get update -q >&2
  "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive \
    apt-get install -y -q --no-install-recommends "${missing[@]}" >&2
}
