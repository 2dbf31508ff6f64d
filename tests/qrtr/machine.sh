# Shared by the checks of this folder, each with its `name` and the build folder as its first
# argument: a virtual machine with a stock kernel, unpacked and not installed. `work` is a folder for
# what is only needed meanwhile, `root` becomes the machine's.
# shellcheck shell=bash disable=SC2154,SC2034
set -Eeuo pipefail
trap 'echo "$name: cannot be checked, line $LINENO failed: $BASH_COMMAND" >&2' ERR
cd "$(dirname "${BASH_SOURCE[0]}")/../.."
. tools/packages.sh
bin=$(realpath "$1")/bin
work=$(mktemp -d)
root=$work/root
trap 'rm -rf "$work"' EXIT

# Sets kernel, version, and modules, the folder of the kernel's modules.
fetch_kernel() {
  local package=$(apt-cache depends linux-image-amd64 | awk '/Depends: linux-image/ {print $2; exit}')
  (cd "$work" && apt-get download -q -o Acquire::Retries=3 "$package" >&2 && dpkg -x linux-image-*.deb kernel)
  kernel=$(echo "$work"/kernel/boot/vmlinuz-*)
  version=${kernel##*/vmlinuz-}
  modules=$work/kernel/lib/modules/$version/kernel
}

# Puts programs into the root, with the libraries that it has not yet.
add_programs() {
  local program library
  for program in "$@"; do
    cp "$program" "$root/bin/"
    # A static program has no libraries, and ldd fails for it.
    { ldd "$program" 2>/dev/null || true; } | sed -n 's|^[^/]*\(/[^ ]*\).*|\1|p' | while read -r library; do
      mkdir -p "$root$(dirname "$library")"
      cp -nL "$library" "$root$library"
    done
  done
}

# boot MEMORY [NAME=VALUE...]: runs the root's init, with these in its environment, and shows what it
# prints from "--- begin" to "--- done".
boot() {
  chmod +x "$root/init"
  (cd "$root" && find . | cpio -o -H newc --quiet | gzip -1) >"$work/initramfs.gz"
  timeout 280 qemu-system-x86_64 -kernel "$kernel" -initrd "$work/initramfs.gz" -m "$1" -nographic -no-reboot \
    -append "console=ttyS0 quiet panic=-1 ${*:2}" </dev/null 2>&1 |
    tr -d '\r' | sed -n '/--- begin/,/--- done$/p' | tee "$work/output"
}

expect() {
  [ "$(grep -cF -- "$2" "$work/output")" -eq "$1" ] || { echo "expected $1 times: $2" >&2; exit 1; }
}
