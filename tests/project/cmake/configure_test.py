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
LIBRARY_ALONE = [f"-DVORN_BUILD_{part}=OFF" for part in ("TESTS", "EXAMPLES", "TOOLS", "CHECKER")]
# Nothing of this machine is found but SQLite: our packages with the stubs may be installed.
FOLDERS = [f"{root}/{name}" for root in ("", "/usr", "/usr/local") for name in ("include", "lib")]
FOLDERS += [f"{folder}/{os.environ['VORN_MULTIARCH']}" for folder in FOLDERS]
SYSTEM = [*LIBRARY_ALONE, "-DVORN_PLATFORM=system", "-DCMAKE_IGNORE_PATH=" + ";".join(FOLDERS)]
SYSTEM += os.environ["VORN_SQLITE"].split()
BY_PATH = [f"-DVORN_{name}_INCLUDE_DIR=device/include" for name in ("DLOG", "VORNUTIL")]
BY_PATH += ["-DVORN_DLOG_LIBRARY=device/lib/libdlog.so"]
BY_PATH += ["-DVORN_VORNUTIL_LIBRARY=device/lib/libvornutil.so"]
WITHOUT = [
    f"-DCMAKE_DISABLE_FIND_PACKAGE_{name}=ON" for name in ("CLI11", "nlohmann_json", "GTest")
]
WITHOUT += ["-DVORNCHECK_dw_LIBRARY="]
# An enumeration in place of the stub's int.
DLOG_WITH_ENUMERATIONS = """
enum LogBuffer { kMain, kRadio };
enum LogLevel { kUnknown, kDefault, kVerbose };
extern "C" int __dlog_print(LogBuffer buffer, LogLevel level, const char* tag,
                            const char* format, ...);
"""
PC_FILE = "Name: {0}\nDescription: own\nVersion: 1\nCflags: -I{1}/include\nLibs: -L{1}/lib -l{0}\n"
PACKAGE = """add_library({0}::{0} SHARED IMPORTED)
set_target_properties({0}::{0} PROPERTIES
  IMPORTED_LOCATION "{1}/lib/lib{0}.so" INTERFACE_INCLUDE_DIRECTORIES "{1}/include")
"""


@pytest.fixture(name="build", scope="module")
def fixture_build(tmp_path_factory):
    return tmp_path_factory.mktemp("build")


@pytest.fixture(name="device")
def fixture_device(tmp_path):
    """A device's folder with both libraries and their headers."""
    device = tmp_path / "device"
    shutil.copytree(SOURCE / "platform/dlog", device / "include")
    shutil.copytree(SOURCE / "platform/vornutil", device / "include", dirs_exist_ok=True)
    (device / "lib").mkdir()
    for library in STUBS.glob("lib*.so"):
        shutil.copy(library, device / "lib")
    return device


@pytest.fixture(name="configure")
def fixture_configure(build, device):
    def configure(*options, succeeds=True):
        """Returns the output, in one line; "device" in an option is its folder."""
        # The options of other cases are forgotten, the examination of the compiler is not.
        cache = build / "CMakeCache.txt"
        if cache.exists():
            kept = re.findall(
                r"^(?:CMAKE_[A-HJ-OQ-Z]|VORN_HAS_).*", cache.read_text(), re.MULTILINE
            )
            cache.write_text("\n".join(kept))
        options = [option.replace("=device", f"={device}") for option in options]
        done = subprocess.run(
            ["cmake", "-S", SOURCE, "-B", build, *options],
            env={**os.environ, "PKG_CONFIG_PATH": str(device)},
            capture_output=True,
            text=True,
            check=False,
        )
        assert (done.returncode == 0) == succeeds, done.stdout + done.stderr
        return " ".join((done.stdout + done.stderr).split())

    return configure


# --- A device's platform ----------------------------------------------------------------


@pytest.mark.parametrize(
    "missing, library",
    [
        ("dlog.h, libdlog.so", "dlog"),
        ("libdlog.so", "dlog"),
        ("VornMutex.h", "vornutil"),
    ],
)
def test_platform_missing(configure, device, missing, library):
    for name in missing.split(", "):
        next(device.rglob(name)).unlink()
    output = configure(*SYSTEM, *BY_PATH, succeeds=False)
    assert f"of the platform library '{library}' this is missing: {missing}." in output
    assert "-DVORN_PLATFORM=development" in output


def test_platform_by_path(configure, device):
    assert f"Platform library dlog: {device}/lib/libdlog.so" in configure(*SYSTEM, *BY_PATH)


@pytest.mark.parametrize(
    "text, place, message",
    [
        (PC_FILE, "{}.pc", "pkg-config module, version 1"),
        (PACKAGE, "{}Config.cmake", "CMake package in {}"),
    ],
)
def test_platform_by_module(configure, device, text, place, message):
    for name in ("dlog", "vornutil"):
        (device / place.format(name)).write_text(text.format(name, device))
    output = configure(*SYSTEM, "-Ddlog_DIR=device", "-Dvornutil_DIR=device")
    for name in ("dlog", "vornutil"):
        assert f"library {name}: {message.format(device)}" in output


def test_library_on_the_devices_platform(configure, build, device):
    (device / "include/dlog.h").write_text(DLOG_WITH_ENUMERATIONS)
    configure(*SYSTEM, "-DCMAKE_PREFIX_PATH=device", "-DCMAKE_BUILD_TYPE=Debug")
    built = subprocess.run(["cmake", "--build", build], capture_output=True, text=True, check=False)
    assert built.returncode == 0, built.stdout + built.stderr
    library = build / "src/libvorndatabase.so"
    needed = subprocess.run(["readelf", "-d", library], capture_output=True, text=True, check=True)
    assert "[libdlog.so]" in needed.stdout and "[libvornutil.so]" in needed.stdout
    assert not (build / "platform").exists(), "the stubs were built"


# --- Options ----------------------------------------------------------------------------


def test_parts_without_their_packages_are_left_out(configure):
    output = configure(*WITHOUT)
    for part, packages in (
        ("the tool vorndb", "libcli11-dev nlohmann-json3-dev"),
        ("the checker vorncheck", "nlohmann-json3-dev libdw-dev"),
        ("the C++ tests", "libgtest-dev libgmock-dev"),
    ):
        assert f"-- Left out: {part}, for want of the Debian packages {packages} --" in output


TOOL = (
    "the tool vorndb cannot be built without the Debian packages: libcli11-dev nlohmann-json3-dev."
)


@pytest.mark.parametrize(
    "options, text",
    [
        ([*WITHOUT, "-DVORN_BUILD_TOOLS=ON"], f"VORN_BUILD_TOOLS is ON, but {TOOL}"),
        ([*WITHOUT, "-DVORN_REQUIRE_ALL=ON"], TOOL),
        (["-DVORN_TESTS=unit;nosuch"], "VORN_TESTS has 'nosuch'"),
        (["-DVORN_PLATFORM=desktop"], "'desktop'; it must be 'development' or 'system'."),
        (["-DBUILD_SHARED_LIBS=OFF"], "vorndatabase is a shared library only"),
    ],
)
def test_refused(configure, options, text):
    assert text in configure(*options, succeeds=False)
