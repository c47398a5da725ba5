# SPDX-License-Identifier: Apache-2.0

"""Conan 2 recipe. Not tried here: no Conan registry is at hand. `conan create packaging/conan` builds it."""

import os
import re

from conan import ConanFile
from conan.tools.cmake import CMake, CMakeDeps, CMakeToolchain, cmake_layout
from conan.tools.files import copy, load

ROOT = os.path.join("..", "..")


class CorvoConan(ConanFile):
    name = "corvo"
    description = "Remote feature flags, A/B experiments and holdouts for C++20 applications"
    license = "Apache-2.0"
    settings = "os", "arch", "compiler", "build_type"
    options = {"shared": [True, False], "fPIC": [True, False], "host": [True, False]}
    default_options = {"shared": False, "fPIC": True, "host": True}
    implements = ["auto_shared_fpic"]

    def set_version(self):
        header = load(self, os.path.join(self.recipe_folder, ROOT, "include", "corvo", "version.h"))
        self.version = ".".join(re.findall(r"define CORVO_VERSION_(?:MAJOR|MINOR|PATCH) (\d+)", header))

    def export_sources(self):
        root = os.path.join(self.recipe_folder, ROOT)
        for pattern in ("CMakeLists.txt", "LICENSE", "cmake/*", "include/*", "src/*"):
            copy(self, pattern, root, self.export_sources_folder)

    def requirements(self):
        self.requires("simdjson/[>=3.0 <4]")
        self.requires("utf8proc/[>=2.7 <3]")
        if self.options.host:
            self.requires("libcurl/[>=7.87 <9]")
            self.requires("sqlite3/[>=3.40 <4]")

    def layout(self):
        cmake_layout(self)

    def generate(self):
        CMakeDeps(self).generate()
        toolchain = CMakeToolchain(self)
        toolchain.cache_variables["CORVO_BUILD_HOST"] = bool(self.options.host)
        toolchain.cache_variables["CORVO_BUILD_TESTS"] = False
        toolchain.cache_variables["CORVO_BUILD_TOOL"] = False
        toolchain.generate()

    def build(self):
        cmake = CMake(self)
        cmake.configure()
        cmake.build()

    def package(self):
        CMake(self).install()

    def package_info(self):
        # The installed CMake files define the targets that the documents name.
        self.cpp_info.set_property("cmake_find_mode", "none")
        self.cpp_info.builddirs = [os.path.join("lib", "cmake", "corvo")]
