# SPDX-License-Identifier: Apache-2.0
"""The checks of tools/checks/doctor. Each module checks one kind of file."""
