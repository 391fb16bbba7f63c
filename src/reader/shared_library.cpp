// The shared library is the exports of the reader and nothing of its own.
