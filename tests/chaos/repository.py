# SPDX-License-Identifier: MIT
"""Invented repositories: random bytes as packages, and a matching index."""
import gzip
import hashlib
from dataclasses import dataclass

KB = 1000
MB = 1000 * KB


@dataclass
class Package:
    identifier: str
    path: str  # on the server
    data: bytes

    @property
    def file(self):
        """Its local file name."""
        return self.path.rsplit("/", 1)[1]


class Repository:
    """The files of a server: `site` maps each path to its bytes. With `digests` the index gives
    size, MD5 and SHA-256 of each package."""

    def __init__(self, rng, sizes, digests=True):
        self.digests = digests
        self.packages = [make_package(rng, number, size) for number, size in enumerate(sizes)]
        index = make_index(self.packages, digests)
        self.metadata = {
            "Packages": index,
            "Packages.gz": gzip.compress(index, 1, mtime=0),
            "Release": b"Origin: Invented\nSuite: stable\n" + rng.randbytes(2 * KB).hex().encode(),
            "CydiaIcon.png": b"\x89PNG\r\n\x1a\n" + rng.randbytes(3 * KB),
            "dists/stable/InRelease": b"Origin: Invented\n" * 50,
        }
        self.site = {f"/{path}": data for path, data in self.metadata.items()}
        self.site |= {package.path: package.data for package in self.packages}

    def files(self, metadata=True):
        """The files of a complete folder: relative path and bytes."""
        files = {package.file: package.data for package in self.packages}
        return files | self.metadata if metadata else files

    @property
    def package_paths(self):
        return [package.path for package in self.packages]


def make_package(rng, number, size):
    identifier = f"org.example.chaos{number:04}"
    version = rng.choice(("1.0", "2.4-1", "0.9~rc1", "3.1+b2", "1%3a7"))
    path = f"/debs/{identifier}_{version}_iphoneos-arm.deb"
    return Package(identifier, path, rng.randbytes(size))


def make_index(packages, digests):
    return "\n".join(make_stanza(package, digests) for package in packages).encode()


def make_stanza(package, digests):
    stanza = (f"Package: {package.identifier}\nVersion: 1.0\nArchitecture: iphoneos-arm\n"
              f"Filename: {package.path[1:]}\nDescription: Bytes to be attacked\n")
    if not digests:
        return stanza
    return stanza + (f"Size: {len(package.data)}\n"
                     f"MD5sum: {hashlib.md5(package.data).hexdigest()}\n"
                     f"SHA256: {hashlib.sha256(package.data).hexdigest()}\n")


def small_files(rng, count):
    return [rng.randint(2 * KB, 40 * KB) for _ in range(count)]
