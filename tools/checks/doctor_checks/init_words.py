# SPDX-License-Identifier: Apache-2.0
"""The words that Android 12's init accepts in a script. It ignores a line, or a whole service, with others."""

MANY = 1000
# Options of a service, and commands of an action: (smallest, largest) number of arguments.
OPTIONS = {
    "capabilities": (0, MANY), "class": (1, MANY), "console": (0, 1), "critical": (0, 2), "disabled": (0, 0),
    "enter_namespace": (2, 2), "file": (2, 2), "group": (1, 13), "interface": (2, 2), "ioprio": (2, 2),
    "keycodes": (1, MANY), "memcg.limit_in_bytes": (1, 1), "memcg.limit_percent": (1, 1),
    "memcg.limit_property": (1, 1), "memcg.soft_limit_in_bytes": (1, 1), "memcg.swappiness": (1, 1),
    "namespace": (1, 2), "oneshot": (0, 0), "onrestart": (1, MANY), "oom_score_adjust": (1, 1),
    "override": (0, 0), "priority": (1, 1), "reboot_on_failure": (1, 1), "restart_period": (1, 1),
    "rlimit": (3, 3), "seclabel": (1, 1), "setenv": (2, 2), "shutdown": (1, 1), "sigstop": (0, 0),
    "socket": (3, 6), "stdio_to_kmsg": (0, 0), "task_profiles": (1, MANY), "timeout_period": (1, 1),
    "updatable": (0, 0), "user": (1, 1), "writepid": (1, MANY),
}
COMMANDS = {
    "chmod": (2, 2), "chown": (2, 3), "class_reset": (1, 1), "class_restart": (1, 2), "class_start": (1, 1),
    "class_stop": (1, 1), "copy": (2, 2), "enable": (1, 1), "exec": (1, MANY), "exec_background": (1, MANY),
    "exec_start": (1, 1), "export": (2, 2), "insmod": (1, MANY), "interface_restart": (1, 1),
    "interface_start": (1, 1), "interface_stop": (1, 1), "loglevel": (1, 1), "mkdir": (1, 6),
    "mount": (3, MANY), "readahead": (1, 2), "restart": (1, 1), "restorecon": (1, MANY),
    "restorecon_recursive": (1, MANY), "rm": (1, 1), "rmdir": (1, 1), "setprop": (2, 2), "setrlimit": (3, 3),
    "start": (1, 1), "stop": (1, 1), "symlink": (2, 2), "trigger": (1, 1), "umount": (1, 1), "wait": (1, 2),
    "wait_for_prop": (2, 2), "write": (2, 2),
}
SECTIONS = {"service": (2, MANY), "on": (1, MANY), "import": (1, 1)}
EVENTS = {"early-init", "init", "late-init", "early-fs", "fs", "post-fs", "late-fs", "post-fs-data",
          "zygote-start", "early-boot", "boot"}
# Users and groups of the platform.
ACCOUNTS = set("""root system radio bluetooth graphics input audio camera log mount wifi adb install media dhcp
    sdcard_rw vpn keystore usb drm mediadrm mediacodec cameraserver audioserver media_rw cache diag shell inet
    net_raw net_admin readproc wakelock uhid hidraw nobody""".split())
CAPABILITIES = set("""CHOWN DAC_OVERRIDE DAC_READ_SEARCH FOWNER FSETID KILL SETGID SETUID SETPCAP
    LINUX_IMMUTABLE NET_BIND_SERVICE NET_BROADCAST NET_ADMIN NET_RAW IPC_LOCK IPC_OWNER SYS_MODULE SYS_RAWIO
    SYS_CHROOT SYS_PTRACE SYS_PACCT SYS_ADMIN SYS_BOOT SYS_NICE SYS_RESOURCE SYS_TIME SYS_TTY_CONFIG MKNOD
    LEASE AUDIT_WRITE AUDIT_CONTROL SETFCAP MAC_OVERRIDE MAC_ADMIN SYSLOG WAKE_ALARM BLOCK_SUSPEND
    AUDIT_READ""".split())
