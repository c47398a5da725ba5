# SPDX-License-Identifier: Apache-2.0

# An overlay port of the sources beside it: `vcpkg install corvo --overlay-ports=packaging/vcpkg`. Not
# tried here: no vcpkg registry is at hand.
vcpkg_check_features(OUT_FEATURE_OPTIONS FEATURE_OPTIONS FEATURES host CORVO_BUILD_HOST)
vcpkg_find_acquire_program(PKGCONFIG)
vcpkg_cmake_configure(SOURCE_PATH "${CMAKE_CURRENT_LIST_DIR}/../../.."
  OPTIONS ${FEATURE_OPTIONS} -DCORVO_BUILD_TESTS=OFF -DCORVO_BUILD_TOOL=OFF
    "-DPKG_CONFIG_EXECUTABLE=${PKGCONFIG}")
vcpkg_cmake_install()
vcpkg_cmake_config_fixup(PACKAGE_NAME corvo CONFIG_PATH lib/cmake/corvo)
vcpkg_fixup_pkgconfig()
file(REMOVE_RECURSE "${CURRENT_PACKAGES_DIR}/debug/include" "${CURRENT_PACKAGES_DIR}/debug/share")
vcpkg_install_copyright(FILE_LIST "${CMAKE_CURRENT_LIST_DIR}/../../../LICENSE")
