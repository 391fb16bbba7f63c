// Empty: the shared library consists of the exports of its static libraries.
