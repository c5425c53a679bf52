# Installs the Debian packages given as arguments that are not installed yet.
# Sourced by the other scripts; needs root (or sudo) only when something is missing.
ensure_packages() {
  local missing=() p
  for p in "$@"; do
    dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q 'install ok installed' || missing+=("$p")
  done
  [ ${#missing[@]} -eq 0 ] && return 0
  local sudo=""
  [ "$(id -u)" -ne 0 ] && sudo=sudo
  echo "installing: ${missing[*]}"
  $sudo apt-get update -qq
  DEBIAN_FRONTEND=noninteractive $sudo apt-get install -y -qq --no-install-recommends "${missing[@]}" >/dev/null
}

ZELVORA_BUILD_PACKAGES=(cmake ninja-build g++ make pkg-config googletest libgtest-dev libbenchmark-dev libpng-dev libtiff-dev libhwy-dev)
ZELVORA_PYTHON_PACKAGES=(pybind11-dev python3-dev python3-numpy python3-pytest)
# Debian's interpreter, the one those packages serve (python3 on PATH may be another).
ZELVORA_PYTHON=/usr/bin/python3
ZELVORA_CROSS_PACKAGES=(g++-arm-linux-gnueabihf qemu-user)
ZELVORA_FUZZ_PACKAGES=(clang-14 libclang-rt-14-dev)
