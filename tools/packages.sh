# Shared by run, test and .ci/run: installs missing Debian packages, and serialises builds in this
# checkout.
# shellcheck shell=bash

packages_to_build=(
  ca-certificates curl g++ cmake ninja-build ccache
  libasio-dev libbenchmark-dev libbz2-dev libcli11-dev libcpp-httplib-dev libfmt-dev libgtest-dev libjs-dygraphs liblzma-dev libsqlite3-dev
  libsqlitecpp-dev libzstd-dev nlohmann-json3-dev zlib1g-dev
  python3
)
# For pages in a browser: tests/browser/check.
packages_to_browse=(chromium chromium-driver python3-selenium)
packages_to_check=(
  clang clang-format clang-tidy libclang-14-dev libclang-rt-14-dev llvm-14-dev
  g++-aarch64-linux-gnu qemu-user-static
  libc6:arm64 libstdc++6:arm64 libbz2-dev:arm64 libcpp-httplib-dev:arm64 libfmt-dev:arm64 libgtest-dev:arm64 liblzma-dev:arm64
  libsqlite3-dev:arm64 libsqlitecpp-dev:arm64 libzstd-dev:arm64 zlib1g-dev:arm64
  busybox-static cpio libqmi-utils qemu-system-x86
  "${packages_to_browse[@]}"
)

# A package may be installed for both architectures; a name without one means this machine's.
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
  local by_hand="install these Debian packages and try again: ${missing[*]}"
  if ! command -v apt-get >/dev/null; then
    echo "apt-get not found; $by_hand" >&2
    return 1
  fi
  if [ "$(id -u)" -ne 0 ]; then
    if ! command -v sudo >/dev/null; then
      echo "not root, and sudo not found; $by_hand" >&2
      return 1
    fi
    as_root=(sudo)
  fi
  echo "Installing ${missing[*]}" >&2
  if [[ " ${missing[*]} " == *:arm64* ]]; then
    "${as_root[@]}" dpkg --add-architecture arm64 >&2
  fi
  local patient=(-o Acquire::Retries=3 -o DPkg::Lock::Timeout=120)
  "${as_root[@]}" apt-get "${patient[@]}" update -q >&2
  "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive \
    apt-get "${patient[@]}" install -y -q --no-install-recommends "${missing[@]}" >&2
}

# Two builds in one folder would write the same files, so the second waits for the first. The lock is
# held until this shell and its children end, or until unlock_build.
lock_build() {
  mkdir -p "$1/build"
  exec {build_lock}>"$1/build/.lock"
  flock --nonblock "$build_lock" && return 0
  echo "Another ./run or ./test is building in this checkout; waiting for it." >&2
  flock "$build_lock"
}

unlock_build() {
  exec {build_lock}>&-
}
