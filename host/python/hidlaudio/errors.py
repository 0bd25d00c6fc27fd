# SPDX-License-Identifier: Apache-2.0
"""The errors of the kit."""


class HidlError(Exception):
    """A HIDL operation failed."""


class TransactionError(HidlError):
    """A call did not succeed. `status` is its name, such as "FAILED_TRANSACTION"; `code` its number or None."""

    def __init__(self, text, status, code=None):
        super().__init__(text)
        self.status = status
        self.code = code


class DeadObject(TransactionError):
    """The process of the called object has ended."""


class ServiceNotFound(HidlError, LookupError):
    """The service is not registered."""


class CallTimeout(HidlError, TimeoutError):
    """A call did not return in the time of `Client.timeout`."""


class ClientEnded(HidlError):
    """The process of the client has ended."""


class TvError(Exception):
    """A command of the virtual TV failed."""
