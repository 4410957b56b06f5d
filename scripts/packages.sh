# SPDX-FileCopyrightText: The updater authors
# SPDX-License-Identifier: MIT
#
# Source this file. need PROBE PACKAGE...: notes the packages if the shell command PROBE fails; install_needed:
# installs the noted packages on Debian and its relatives; elsewhere says what is missing.

PATH=$PATH:/usr/sbin:/sbin # nginx is there, and not everybody's PATH has it
missing_packages=()

need() {
  local probe=$1
  shift
  eval "$probe" >/dev/null 2>&1 || missing_packages+=("$@")
}

as_root() {
  if [ "$(id -u)" = 0 ]; then "$@"; else sudo "$@"; fi
}

# Packages with a service must not start it: only the program is needed. Runs in a subshell, whose exit trap removes
# the policy, however it ends.
install_without_services() (
  policy=/usr/sbin/policy-rc.d
  if [ ! -e "$policy" ]; then
    trap 'as_root rm -f "$policy"' EXIT
    trap 'exit 130' INT TERM HUP
    printf '#!/bin/sh\nexit 101\n' | as_root tee "$policy" >/dev/null
    as_root chmod +x "$policy"
  fi
  wait_for_lock='-o DPkg::Lock::Timeout=300'
  as_root apt-get $wait_for_lock update -qq || true # an old list may still do
  as_root env DEBIAN_FRONTEND=noninteractive apt-get $wait_for_lock \
    install -y -qq --no-install-recommends "$@" </dev/null >/dev/null
)

can_install() {
  command -v apt-get >/dev/null && { [ "$(id -u)" = 0 ] || command -v sudo >/dev/null; }
}

install_needed() {
  [ ${#missing_packages[@]} -gt 0 ] || return 0
  if ! can_install; then
    echo "Please install (names as on Debian 12): ${missing_packages[*]}" >&2
    exit 1
  fi
  echo "Installing: ${missing_packages[*]}" >&2
  if ! install_without_services "${missing_packages[@]}"; then
    echo "These packages could not be installed: ${missing_packages[*]}" >&2
    exit 1
  fi
  missing_packages=()
}

need_for_building() {
  need 'command -v g++' g++
  need 'command -v cmake' cmake
  need 'command -v ninja' ninja-build
  need 'command -v pkg-config' pkg-config
  need 'pkg-config --exists Qt5Widgets Qt5Network' qtbase5-dev
  need 'pkg-config --exists libplist-2.0' libplist-dev
  need 'pkg-config --exists libsodium' libsodium-dev
  need 'pkg-config --exists libcrypto' libssl-dev
}

has_qt6() {
  pkg-config --exists Qt6Widgets Qt6Network
}

need_for_qt6() {
  need has_qt6 qt6-base-dev
}

need_for_showing() {
  need 'command -v nginx' nginx-light
  need 'command -v Xvfb' xvfb
  need 'command -v xdotool' xdotool
  need 'pkg-config --exists xcb' libxcb1-dev
  need 'command -v import' imagemagick
  need 'fc-list :lang=zh | grep . || ls /usr/share/fonts/*/noto/NotoSansCJK-Regular.*' fonts-noto-cjk
}

need_for_testing() {
  need 'command -v openssl' openssl
  need 'command -v caddy' caddy
  need 'command -v minisign' minisign
  need 'command -v python3' python3
  need 'command -v faketime' faketime
  need 'command -v xprop' x11-utils
  need 'command -v rsvg-convert' librsvg2-bin
  need 'command -v clang++' clang
  need 'ls /usr/lib/llvm-*/lib/clang/*/lib/linux/libclang_rt.fuzzer-*.a' libclang-rt-14-dev
  need 'ls /usr/include/GNUstep/Foundation/Foundation.h' libgnustep-base-dev
  need 'ls /usr/lib/gcc/*/12/include/objc/objc.h' libobjc-12-dev
  need 'command -v clang-format-14 || command -v clang-format' clang-format
  need 'command -v llvm-symbolizer' llvm
  need 'command -v gcovr' gcovr
  need 'command -v valgrind' valgrind
  need 'pkg-config --exists fuse3' libfuse3-dev
  need 'command -v mkfs.ext4 && command -v e2fsck' e2fsprogs
  need 'command -v mkfs.xfs' xfsprogs
  need 'command -v mkfs.btrfs' btrfs-progs
}
