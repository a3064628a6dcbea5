#!/usr/bin/env bash
# Builds the release programs and makes the Debian package build/package/quenix_<version>_<arch>.deb.
set -euo pipefail
cd "$(dirname "$0")/.."
bash scripts/install-deps.sh package
cmake --preset default -DQUENIX_TESTS=OFF >/dev/null
cmake --build --preset default --target quenix quenix-ir serpulse quenix_package_files
rm -rf build/package
cpack --config build/default/CPackConfig.cmake -B build/package
rm -rf build/package/_CPack_Packages
ls build/package/*.deb
