"""Lets ParaView 5.11 load Python plugins with Python 3.11 or later, as on Debian 12.

ParaView imports inspect.getargspec, which these releases of Python no longer have. With this folder in
PYTHONPATH, every process of ParaView has it: client, servers, and all ranks of pvbatch.
"""

import inspect

if not hasattr(inspect, "getargspec"):
    inspect.getargspec = inspect.getfullargspec
