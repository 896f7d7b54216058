"""Configures the project for a device's own platform libraries, and without packages.

The stubs of this build play the device's libraries. One build folder serves all cases, so
that the compiler is examined once.
"""

import os
import pathlib
import re
import shutil
import subprocess

import pytest

SOURCE = pathlib.Path(os.environ["VORN_SOURCE_DIR"])
STUBS = pathlib.Path(os.environ["VORN_STUBS"])
LIBRARY_ALONE = [f"-DVORN_BUILD_{part}=OFF" for part in ("TESTS", "EXAMPLES", "TOOLS")]
# Nothing of this machine is found but SQLite: our packages with the stubs may be installed.
FOLDERS = [f"{root}/{name}" for root in ("", "/usr", "/usr/local") for name in ("include", "lib")]
FOLDERS += [f"{folder}/{os.environ['VORN_MULTIARCH']}" for folder in FOLDERS]
SYSTEM = ["-DVORN_PLATFORM=system", "-DCMAKE_IGNORE_PATH=" + ";".join(FOLDERS)]
SYSTEM += os.environ["VORN_SQLITE"].split()
# What other cases may have left in the cache.
OF_OTHER_CASES = (
    "VORN_PLATFORM VORN_BUILD_* VORN_REQUIRE_ALL VORN_TESTS VORN_DLOG_* VORN_VORNUTIL_*"
)
OF_OTHER_CASES += " *VORN_PC_* *_DIR CMAKE_DISABLE_* CMAKE_PREFIX_PATH CMAKE_IGNORE_PATH"
OF_OTHER_CASES = (OF_OTHER_CASES + " SQLite3_* BUILD_SHARED_LIBS").split()
# An enumeration in place of the stub's int.
DLOG_WITH_ENUMERATIONS = """
enum LogBuffer { kMain, kRadio };
enum LogLevel { kUnknown, kDefault, kVerbose };
extern "C" int __dlog_print(LogBuffer buffer, LogLevel level, const char* tag,
                            const char* format, ...);
"""


@pytest.fixture(name="build", scope="module")
def fixture_build(tmp_path_factory):
    return tmp_path_factory.mktemp("build")


@pytest.fixture(name="device")
def fixture_device(tmp_path):
    """A device's folder with both libraries and their headers."""
    device = tmp_path / "device"
    for folder, files in (
        ("include", SOURCE.glob("platform/*/*.h")),
        ("lib", STUBS.glob("lib*.so")),
    ):
        (device / folder).mkdir(parents=True)
        for file in files:
            shutil.copy(file, device / folder)
    return device


@pytest.fixture(name="configure")
def fixture_configure(build):
    def configure(*options, **variables):
        """Returns the exit status and the output, without line breaks."""
        environment = {**os.environ, "PKG_CONFIG_PATH": "", **variables}
        command = ["cmake", "-S", SOURCE, "-B", build]
        for name in OF_OTHER_CASES:
            command += ["-U", name]
        done = subprocess.run(
            [*command, *options], env=environment, capture_output=True, text=True, check=False
        )
        return done.returncode, re.sub(r"\s+", " ", done.stdout + done.stderr)

    return configure


def by_path(device):
    include = device / "include"
    return [
        f"-DVORN_DLOG_INCLUDE_DIR={include}",
        f"-DVORN_DLOG_LIBRARY={device}/lib/libdlog.so",
        f"-DVORN_VORNUTIL_INCLUDE_DIR={include}",
        f"-DVORN_VORNUTIL_LIBRARY={device}/lib/libvornutil.so",
    ]


def refused(configured, *texts):
    status, output = configured
    assert status != 0
    for text in texts:
        assert text in output


def accepted(configured, *texts):
    status, output = configured
    assert status == 0, output
    for text in texts:
        assert text in output


# --- A device's platform ----------------------------------------------------------------


def test_platform_missing_everything(configure):
    refused(
        configure(*LIBRARY_ALONE, *SYSTEM),
        "of the platform library 'dlog' this is missing: dlog.h, libdlog.so.",
        "-DVORN_PLATFORM=development",
    )


def test_platform_missing_one_header(configure, device):
    (device / "include/VornMutex.h").unlink()
    refused(
        configure(*LIBRARY_ALONE, *SYSTEM, *by_path(device)),
        "of the platform library 'vornutil' this is missing: VornMutex.h.",
    )


def test_platform_missing_one_library(configure, device):
    (device / "lib/libdlog.so").unlink()
    refused(
        configure(*LIBRARY_ALONE, *SYSTEM, *by_path(device)),
        "of the platform library 'dlog' this is missing: libdlog.so.",
    )


def test_platform_unknown(configure):
    refused(
        configure(*LIBRARY_ALONE, "-DVORN_PLATFORM=desktop"),
        "VORN_PLATFORM is 'desktop'; it must be 'development' or 'system'.",
    )


def test_platform_by_path(configure, device):
    library = f"Platform library dlog: {device}/lib/libdlog.so"
    accepted(configure(*LIBRARY_ALONE, *SYSTEM, *by_path(device)), library)


def test_platform_by_pkg_config(configure, device):
    for name in ("dlog", "vornutil"):
        (device / f"{name}.pc").write_text(
            f"Name: {name}\nDescription: the device's own\nVersion: 1\n"
            f"Cflags: -I{device}/include\nLibs: -L{device}/lib -l{name}\n"
        )
    accepted(
        configure(*LIBRARY_ALONE, *SYSTEM, PKG_CONFIG_PATH=str(device)),
        "dlog: pkg-config module, version 1",
        "vornutil: pkg-config module, version 1",
    )


def test_platform_by_package(configure, device):
    for name in ("dlog", "vornutil"):
        folder = device / "lib/cmake" / name
        folder.mkdir(parents=True)
        (folder / f"{name}Config.cmake").write_text(
            f"add_library({name}::{name} SHARED IMPORTED)\n"
            f"set_target_properties({name}::{name} PROPERTIES\n"
            f'  IMPORTED_LOCATION "{device}/lib/lib{name}.so"\n'
            f'  INTERFACE_INCLUDE_DIRECTORIES "{device}/include")\n'
        )
    accepted(
        configure(*LIBRARY_ALONE, *SYSTEM, f"-DCMAKE_PREFIX_PATH={device}"),
        f"dlog: CMake package in {device}/lib/cmake/dlog",
        f"vornutil: CMake package in {device}/lib/cmake/vornutil",
    )


def test_library_on_the_devices_platform(configure, build, device):
    (device / "include/dlog.h").write_text(DLOG_WITH_ENUMERATIONS)
    prefix = f"-DCMAKE_PREFIX_PATH={device}"
    accepted(configure(*LIBRARY_ALONE, *SYSTEM, prefix, "-DCMAKE_BUILD_TYPE=Debug"))
    built = subprocess.run(["cmake", "--build", build], capture_output=True, text=True, check=False)
    assert built.returncode == 0, built.stdout + built.stderr
    library = build / "src/libvorndatabase.so"
    needed = subprocess.run(["readelf", "-d", library], capture_output=True, text=True, check=True)
    assert "[libdlog.so]" in needed.stdout and "[libvornutil.so]" in needed.stdout
    assert not (build / "platform").exists(), "the stubs were built"


# --- Parts ------------------------------------------------------------------------------

WITHOUT = [
    f"-DCMAKE_DISABLE_FIND_PACKAGE_{name}=ON" for name in ("CLI11", "nlohmann_json", "GTest")
]
PACKAGES_OF_TOOL = "libcli11-dev nlohmann-json3-dev"


def test_parts_without_their_packages_are_left_out(configure):
    accepted(
        configure(*WITHOUT),
        f"-- Left out: the tool vorndb, for want of the Debian packages {PACKAGES_OF_TOOL} -- ",
        "-- Left out: the C++ tests, for want of the Debian packages libgtest-dev libgmock-dev -- ",
    )


@pytest.mark.parametrize("option", ["VORN_BUILD_TOOLS", "VORN_REQUIRE_ALL"])
def test_parts_that_are_asked_for_are_not_left_out(configure, option):
    refused(
        configure(*WITHOUT, f"-D{option}=ON"),
        f"the tool vorndb cannot be built without the Debian packages: {PACKAGES_OF_TOOL}.",
        "VORN_BUILD_TOOLS",
    )


def test_no_static_library(configure):
    refused(configure("-DBUILD_SHARED_LIBS=OFF"), "vorndatabase is a shared library only")


def test_unknown_group_of_tests(configure):
    refused(configure("-DVORN_TESTS=unit;nosuch"), "VORN_TESTS has 'nosuch'")
