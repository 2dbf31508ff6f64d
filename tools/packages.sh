# Shared by run, test, .ci/run and others: installs missing Debian packages, and serialises builds in this
# checkout. On another distribution it says what is missing.
# shellcheck shell=bash

# Packages, each with what it is known by where it has another name: a header, a file, or else a command, by
# default of the package's name.
packages_to_build=(
  ca-certificates=/etc/ssl/certs curl g++ cmake ninja-build=ninja ccache python3 bzip2 xz-utils=xz zstd
  libasio-dev=asio.hpp libbenchmark-dev=benchmark/benchmark.h libbz2-dev=bzlib.h libcli11-dev=CLI/CLI.hpp
  libboost-dev=boost/beast/http.hpp libfmt-dev=fmt/core.h libgtest-dev=gtest/gtest.h
  libjs-dygraphs=/usr/share/javascript/dygraphs/dygraph.min.js liblzma-dev=lzma.h libsqlite3-dev=sqlite3.h
  libsqlitecpp-dev=SQLiteCpp/SQLiteCpp.h libzstd-dev=zstd.h nlohmann-json3-dev=nlohmann/json.hpp zlib1g-dev=zlib.h
)
packages_to_package=(dpkg-dev file git pandoc)
# For pages in a browser: tests/browser/check.
packages_to_browse=(chromium chromium-driver python3-selenium)
packages_to_check=(
  clang clang-format clang-tidy libclang-14-dev libclang-rt-14-dev llvm-14-dev
  g++-aarch64-linux-gnu qemu-user-static
  libc6:arm64 libstdc++6:arm64 libbz2-dev:arm64 libfmt-dev:arm64
  libgtest-dev:arm64 liblzma-dev:arm64 libsqlite3-dev:arm64 libsqlitecpp-dev:arm64 libzstd-dev:arm64 zlib1g-dev:arm64
  busybox-static cpio libqmi-utils man-db qemu-system-x86
  "${packages_to_browse[@]}"
)

# is_known NAME: whether there is such a header, file or command.
is_known() {
  case $1 in
    /*) [ -e "$1" ] ;;
    *.h | *.hpp) g++ -E -x c++ -include "$1" /dev/null >/dev/null 2>&1 ;;
    *) command -v "$1" >/dev/null ;;
  esac
}

# A package may be installed for both architectures; a name without one means this machine's.
is_installed() {
  local architecture=$(dpkg --print-architecture)
  [[ $1 == *:* ]] && architecture=${1#*:}
  dpkg-query -W -f='${Architecture} ${db:Status-Status}\n' "${1%:*}" 2>/dev/null |
    grep -qxE "($architecture|all) installed"
}

install_packages() {
  local missing=() package as_root=()
  if ! command -v dpkg-query >/dev/null; then
    for package in "$@"; do
      is_known "${package#*=}" || missing+=("${package/=/, for }")
    done
    [ ${#missing[@]} -eq 0 ] && return 0
    echo "Missing, by the names that Debian's packages have; install yours and try again:" >&2
    printf '  %s\n' "${missing[@]}" >&2
    return 1
  fi
  for package in "${@%%=*}"; do
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
