# The BDF font reader over arbitrary bytes, and a chart drawn with any font
# it accepts.
ostr_fuzz_target(bdf SOURCES bdf_fuzz.cpp LIBS ostr_plot)
