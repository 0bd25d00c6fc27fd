# SPDX-License-Identifier: Apache-2.0
"""Runs all checks."""
from . import (build_file, code_paths, conformance, generators, init_rc, interfaces, middleware, sepolicy,
               vintf, workstation)
from .tree import Tree


def examine(root, hidl_gen=None):
    """Returns the sorted findings in the tree at `root`. If `hidl_gen` is None, its output is not checked."""
    tree = Tree(root)
    known = interfaces.load_interfaces(tree)
    services = interfaces.load_services(tree, known)
    interfaces.check_extends(tree, known)
    interfaces.check_registered(tree, known, services)
    interfaces.check_frozen(tree)
    if hidl_gen:
        generators.check_generators(tree, hidl_gen)
    code = code_paths.load_code_paths(tree)
    build_file.check_build_file(tree, code.headers)
    build_file.check_recorder(tree)
    types = sepolicy.load_types(tree)
    labels = sepolicy.load_labels(tree)
    folders = sepolicy.own_folders(labels, types, code.paths)
    init_rc.check_init_rc(tree, build_file.PROGRAM, services, code, folders)
    vintf.check_manifest(tree, services)
    vintf.check_matrix(tree, services)
    sepolicy.check_hwservices(tree, types, services)
    sepolicy.check_labels(tree, labels, types, build_file.PROGRAM, code.paths)
    sepolicy.check_service_rules(tree, types)
    sepolicy.check_domain(tree, labels, types, code)
    functions = middleware.load_functions(tree)
    middleware.check_page(tree, functions, code.paths)
    middleware.check_virtual_tv(tree, functions)
    workstation.check_known_services(tree, services)
    workstation.check_commands(tree)
    conformance.check_tests(tree)
    return sorted(set(tree.findings))
