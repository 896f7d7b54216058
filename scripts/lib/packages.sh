# shellcheck shell=bash
# Sourced by the scripts: the Debian packages that they need, by purpose.

# shellcheck source=scripts/lib/run.sh
source "${BASH_SOURCE[0]%/*}/run.sh"

# shellcheck disable=SC2034
{
  build_packages=(g++ cmake ninja-build pkg-config libsqlite3-dev)
  tool_packages=(libcli11-dev nlohmann-json3-dev libcsv-dev libutf8proc-dev)
  checker_packages=(libdw-dev)
  test_packages=("${build_packages[@]}" "${tool_packages[@]}" "${checker_packages[@]}"
    libgtest-dev libgmock-dev sqlite3 tzdata abigail-tools python3 python3-pytest zsh fish)
  armhf_packages=(g++-arm-linux-gnueabihf qemu-user)
  arm_packages=("${armhf_packages[@]}" g++-arm-linux-gnueabi)
  package_packages=(git dpkg-dev file rpm lintian elfutils cpio)
  fuzz_packages=(clang libclang-rt-dev)
  coverage_packages=(gcovr)
  mutation_packages=(git python3-clang)
  bench_packages=(libbenchmark-dev valgrind gnuplot-nox python3)
  peer_packages=(libsqlitecpp-dev libsoci-dev libboost-dev libpoco-dev qtbase5-dev
    libqt5sql5-sqlite)
  instruction_packages=("${armhf_packages[@]}" valgrind python3)
  docs_packages=(doxygen graphviz fonts-dejavu-core)
  lint_packages=(git clang clang-format clang-tidy cppcheck shellcheck black pylint mandoc
    python3-pytest python3-clang)
}

# require_packages NAME...: installs those that are missing as root, otherwise fails.
require_packages() {
  local -a missing
  mapfile -t missing < <(comm -13 <(installed_of "$@") <(printf '%s\n' "$@" | sort -u))
  if ((${#missing[@]} == 0)); then
    return
  elif ((EUID == 0)) && type -P apt-get >/dev/null; then
    run_quietly "== install ${missing[*]}" install_packages "${missing[@]}" || exit
  else
    {
      echo "Missing Debian packages (elsewhere, install their counterparts): ${missing[*]}"
      echo "As root: apt-get update && apt-get install -y --no-install-recommends ${missing[*]}"
    } >&2
    exit 1
  fi
}

installed_of() {
  dpkg-query --show --showformat='${Package} ${db:Status-Status}\n' "$@" 2>/dev/null |
    sed -n 's/ installed$//p' | sort -u
}

install_packages() {
  # dpkg looks for its tools in the path of a root login, which su does not give.
  local -x PATH=$PATH:/usr/sbin:/sbin DEBIAN_FRONTEND=noninteractive
  apt-get update && apt-get install -y --no-install-recommends "$@"
}
