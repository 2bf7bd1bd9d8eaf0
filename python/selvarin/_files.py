"""Files that are there as a whole or not at all."""

import os


def write_whole(name: str, data: bytes) -> None:
    """Replaces a file in one step; what was there stays if anything fails. Raises OSError."""
    folder, last = os.path.split(os.path.abspath(name))
    part = os.path.join(folder, f".{last[:100]}.{os.getpid()}-{os.urandom(4).hex()}")
    try:
        with open(part, "xb") as file:
            file.write(data)
        os.replace(part, name)
    except BaseException as error:
        if os.path.exists(part):
            os.unlink(part)
        if isinstance(error, OSError):
            raise OSError(error.errno, error.strerror, os.fspath(name)) from None
        raise
