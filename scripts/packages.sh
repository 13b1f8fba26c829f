# Sourced by run-demo, run-tests and the campaigns: installs the Debian packages that are missing.

. "$(dirname "${BASH_SOURCE[0]}")/progress.sh"

build_packages=(g++ cmake ninja-build pkg-config libboost-dev libspdlog-dev libpugixml-dev libedit-dev
  libsqlite3-dev nlohmann-json3-dev)
test_packages=(libgtest-dev libgmock-dev librapidcheck-dev)
benchmark_packages=(valgrind python3)
qt_packages=(qt6-base-dev)
docs_packages=(doxygen graphviz python3)
packaging_packages=(dpkg-dev file)
sanitizer_packages=(clang-19 libclang-rt-19-dev)
windows_packages=(g++-mingw-w64-x86-64-posix wine wine64 googletest libfmt-dev)

# require_packages NAME...: returns when all of them are there; asks for rights only if one is missing.
require_packages() {
  local missing=() package
  for package in "$@"; do
    [ "$(dpkg-query -W -f='${db:Status-Status}' "$package" 2>/dev/null)" = installed ] || missing+=("$package")
  done
  [ ${#missing[@]} -eq 0 ] && return

  local as_root=()
  if [ "$(id -u)" -ne 0 ]; then
    as_root=(sudo)
  fi
  echo "Installing: ${missing[*]}"
  local log status=0
  log=$(mktemp)
  with_progress "$log" "${as_root[@]}" apt-get update &&
    with_progress "$log" "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive \
      apt-get install -y --no-install-recommends "${missing[@]}" || status=$?
  [ $status -eq 0 ] || tail -n 20 "$log"
  rm -f "$log"
  return $status
}

# A compiler cache is used where there is one, also for sources with precompiled headers.
if command -v ccache >/dev/null; then
  export CMAKE_CXX_COMPILER_LAUNCHER=${CMAKE_CXX_COMPILER_LAUNCHER-ccache}
  export CCACHE_SLOPPINESS=${CCACHE_SLOPPINESS-pch_defines,time_macros,include_file_mtime,include_file_ctime}
fi
