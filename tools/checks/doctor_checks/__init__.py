# SPDX-License-Identifier: Apache-2.0
"""The checks of tools/checks/doctor: each module holds those of one kind of file."""
