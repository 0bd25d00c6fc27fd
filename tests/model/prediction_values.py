# SPDX-License-Identifier: Apache-2.0
"""Names and numbers that the modules of the model share."""

import struct

ANY = "\x01"  # in a predicted line of the log: any number or address
TUNING = "data/vendor/tmp/recipe/aqda.bin"
HAL_OK = 0


def f32(number):
    """Rounds to single precision."""
    try:
        return struct.unpack("<f", struct.pack("<f", number))[0]
    except OverflowError:
        return float("inf") if number > 0 else float("-inf")
