# -*- coding: utf-8 -*-
# What every module of the collection documents alike: where the tool is found.
from __future__ import absolute_import, division, print_function

__metaclass__ = type


class ModuleDocFragment(object):
    DOCUMENTATION = r"""
options:
  executable:
    description: The vantorctl binary. By default C(vantorctl) found on C(PATH).
    type: path
author:
  - Marrowlight sensor team
"""
