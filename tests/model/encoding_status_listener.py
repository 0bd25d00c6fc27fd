# SPDX-License-Identifier: Apache-2.0
"""Model of IOutputEncodingStatusListener: the daemon's own listener only logs."""


class OutputEncodingStatusListener:
    def on_force_encoding_changed(self, world, _enabled):
        world.log("D", None, "[onForceEncodingChanged] start")

    def on_encoding_format_changed(self, world, _format):
        world.log("D", None, "[onEncodingFormatChanged] start")
