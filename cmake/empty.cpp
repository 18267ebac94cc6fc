// The shared library is made only of its component archives.
