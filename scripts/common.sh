# SPDX-License-Identifier: Apache-2.0
# Shared by the scripts in this folder: where things are, and the one way to configure a build.
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
build="${QUILLO_BUILD_DIR:-$root/build}"

# configure_and_build DIR [cmake options...]
configure_and_build() {
  local dir=$1
  shift
  cmake -S "$root" -B "$dir" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo "$@" >/dev/null
  cmake --build "$dir"
}
