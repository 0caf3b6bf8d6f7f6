# SPDX-License-Identifier: MIT
"""Certificates for TLS servers on loopback, made by openssl(1) for each run."""
import ssl
import subprocess

AUTHORITY = """
[ca]
default_ca = authority
[authority]
database = {folder}/index
new_certs_dir = {folder}
serial = {folder}/serial
default_md = sha256
policy = any
unique_subject = no
copy_extensions = copy
[any]
commonName = supplied
"""
EXPIRED = ("-startdate", "20200101000000Z", "-enddate", "20210101000000Z")
VALID = ("-days", "2")


def openssl(*arguments):
    subprocess.run(["openssl", *map(str, arguments)], check=True, capture_output=True)


def key_and(output, folder, name, subject, *more):
    openssl("req", "-newkey", "ec", "-pkeyopt", "ec_paramgen_curve:prime256v1", "-nodes",
            "-keyout", folder / f"{name}.key", "-out", output, "-subj", f"/CN={subject}", *more)


def sign(folder, name, subject, addresses, validity):
    request = folder / f"{name}.csr"
    key_and(request, folder, name, subject, "-addext", f"subjectAltName={addresses}")
    openssl("ca", "-batch", "-notext", "-config", folder / "authority.conf", "-cert",
            folder / "authority.pem", "-keyfile", folder / "authority.key", "-in", request, "-out",
            folder / f"{name}.pem", *validity)


def make_certificates(folder):
    """TLS contexts for servers, by the kind of their certificate, and the certificate file of the
    authority that a client has to trust."""
    folder.mkdir()
    (folder / "index").touch()
    (folder / "serial").write_text("01\n")
    (folder / "authority.conf").write_text(AUTHORITY.format(folder=folder))
    key_and(folder / "authority.pem", folder, "authority", "Invented authority", "-x509")
    sign(folder, "tls", "localhost", "IP:127.0.0.1", VALID)
    sign(folder, "expired", "localhost", "IP:127.0.0.1", EXPIRED)
    sign(folder, "other name", "elsewhere.example", "DNS:elsewhere.example", VALID)
    key_and(folder / "self-signed.pem", folder, "self-signed", "localhost", "-x509", "-addext",
            "subjectAltName=IP:127.0.0.1")
    kinds = ("tls", "expired", "other name", "self-signed")
    return {kind: make_context(folder, kind) for kind in kinds}, folder / "authority.pem"


def make_context(folder, name):
    context = ssl.SSLContext(ssl.PROTOCOL_TLS_SERVER)
    context.load_cert_chain(folder / f"{name}.pem", folder / f"{name}.key")
    return context
