# Hardened binaries as Debian builds them (fortify, stack protector, full
# RELRO, PIE). Off by default: the sanitizer presets bring their own
# instrumentation, and fortify needs optimisation.
option(LUM_HARDENING "Build with Debian's hardening flags" OFF)
if(LUM_HARDENING)
  include(CheckPIESupported)
  check_pie_supported()
  add_compile_options(-D_FORTIFY_SOURCE=2 -fstack-protector-strong)
  add_link_options(-Wl,-z,relro,-z,now)
endif()
