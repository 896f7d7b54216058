# shellcheck shell=bash
# Sourced by the scripts.
#
#   require_packages NAME...  makes sure that Debian packages are installed: as
#   root it installs those that are missing, otherwise it says which and fails.

# shellcheck source=scripts/lib/run.sh
source "${BASH_SOURCE[0]%/*}/run.sh"

# What the scripts need, by purpose.
# shellcheck disable=SC2034
{
  build_packages=(g++ cmake ninja-build pkg-config libsqlite3-dev)
  tool_packages=(libcli11-dev nlohmann-json3-dev libcsv-dev libutf8proc-dev)
  test_packages=("${build_packages[@]}" "${tool_packages[@]}" libgtest-dev libgmock-dev
    sqlite3 tzdata abigail-tools strace python3)
  armhf_packages=(g++-arm-linux-gnueabihf qemu-user)
  arm_packages=("${armhf_packages[@]}" g++-arm-linux-gnueabi googletest)
  package_packages=(git dpkg-dev file rpm lintian elfutils cpio)
  fuzz_packages=(clang libclang-rt-dev)
  coverage_packages=(gcovr python3)
  mutation_packages=(git python3)
  bench_packages=(libbenchmark-dev valgrind gnuplot-nox python3)
  peer_packages=(libsqlitecpp-dev libsoci-dev libboost-dev libpoco-dev qtbase5-dev
    libqt5sql5-sqlite)
  instruction_packages=(valgrind python3)
  docs_packages=(g++ doxygen graphviz fonts-dejavu-core python3)
  screenshot_packages=(chromium)
  lint_packages=(git clang clang-format clang-tidy cppcheck shellcheck black pylint
    mandoc)
}

require_packages() {
  local name status listed
  local -A installed=()
  listed=$(dpkg-query --show --showformat='${Package} ${db:Status-Status}\n' "$@" 2>/dev/null) || true
  while read -r name status; do
    if [[ $status == installed ]]; then
      installed[$name]=1
    fi
  done <<<"$listed"

  local -a missing=()
  for name in "$@"; do
    if [[ -z ${installed[$name]:-} ]]; then
      missing+=("$name")
    fi
  done
  if ((${#missing[@]} == 0)); then
    return 0
  fi

  if [[ -z $(type -P apt-get) ]]; then
    {
      printf 'Needed, as Debian names the packages: %s\n' "${missing[*]}"
      printf 'There is no apt-get here to install them. Install what corresponds to them\n'
      printf 'and build with the CMake presets.\n'
    } >&2
    exit 1
  fi
  if ((EUID != 0)); then
    {
      printf 'Not installed: %s\n' "${missing[*]}"
      printf 'Run as root: apt-get update && apt-get install -y --no-install-recommends %s\n' \
        "${missing[*]}"
    } >&2
    exit 1
  fi
  run_quietly "Installing: ${missing[*]}" install_packages "${missing[@]}" || exit 1
}

install_packages() {
  # dpkg looks for its tools in the path of a root login, which su does not give.
  local -x PATH=$PATH:/usr/sbin:/sbin DEBIAN_FRONTEND=noninteractive
  apt-get update && apt-get install -y --no-install-recommends "$@"
}
