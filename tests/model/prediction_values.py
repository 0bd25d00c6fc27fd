# SPDX-License-Identifier: Apache-2.0
"""Names and numbers that the modules of the model share."""

import struct

# In a predicted line of the log:
ANY = "\x01"   # any number or address
FREE = "\x02"  # any text
TUNING = "data/vendor/tmp/recipe/aqda.bin"
HAL_OK = 0


def f32(number):
    """Rounds to single precision."""
    try:
        return struct.unpack("<f", struct.pack("<f", number))[0]
    except OverflowError:
        return float("inf") if number > 0 else float("-inf")
