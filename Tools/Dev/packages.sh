# What the commands need from the distribution, and how it gets there. Sourced by ./dev.

# Fonts, image sets and the programs that show them.
PACKAGES_GRAPHICS=(pkg-config librsvg2-dev libfreetype-dev libpng-dev fonts-inter fonts-dejavu-core)
PACKAGES_BUILD=(g++ make cmake ninja-build ccache zlib1g-dev liblz4-dev libpugixml-dev libcli11-dev
  libsndfile1-dev libfftw3-dev "${PACKAGES_GRAPHICS[@]}")
PACKAGES_TEST=(libgtest-dev libbenchmark-dev libpixman-1-dev)
PACKAGES_VALIDATE=(locales) # for a locale with a decimal comma
PACKAGES_CHECK=("${PACKAGES_VALIDATE[@]}" git clang clang-format clang-tidy libclang-rt-14-dev)
PACKAGES_BENCH=(python3 lsp-plugins-vst) # two plug-ins of it serve as yardsticks
PACKAGES_DEMO=(sonic-pi-samples librsvg2-bin) # recordings in the public domain; SVG to PNG

is_installed() {
  [[ $(dpkg-query -W -f='${db:Status-Status}' "$1" 2>/dev/null) == installed ]]
}

as_root() {
  if [[ $(id -u) -eq 0 ]]; then env DEBIAN_FRONTEND=noninteractive "$@"
  else sudo env DEBIAN_FRONTEND=noninteractive "$@"; fi
}

# need PACKAGE...: installs those that are missing; asks no package server when none is.
need() {
  local missing=() package
  for package in "$@"; do
    is_installed "$package" || missing+=("$package")
  done
  [[ ${#missing[@]} -eq 0 ]] && return
  echo "installing ${missing[*]}"
  local install=(apt-get install -y -q --no-install-recommends "${missing[@]}")
  # The first try fails where the package lists are missing or old.
  as_root "${install[@]}" >/dev/null 2>&1 && return
  as_root apt-get update -q >/dev/null
  as_root "${install[@]}" >/dev/null
}
