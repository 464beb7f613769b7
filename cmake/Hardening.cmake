# Options that make the usual memory faults harder to exploit, in release builds. None changes what is computed.
# tools/check-hardening checks the built files.
include(CheckPIESupported)
check_pie_supported()  # else CMake leaves out the linker's part of it

include(CheckCXXCompilerFlag)
set(SV_HARDENING)
foreach(flag -fstack-protector-strong -fstack-clash-protection -fcf-protection=full)
  string(MAKE_C_IDENTIFIER "SV_HAS${flag}" has)
  check_cxx_compiler_flag("${flag}" ${has})  # control flow: x86 alone
  if(${has})
    list(APPEND SV_HARDENING ${flag})
  endif()
endforeach()
# Some compilers set it themselves, to another level; and the C library warns of it without optimisation.
list(APPEND SV_HARDENING -U_FORTIFY_SOURCE -D_FORTIFY_SOURCE=3)

# The sanitizers do more of the same and get in each other's way.
if(NOT SV_SANITIZE)
  target_compile_options(sv_options INTERFACE "$<$<CONFIG:Release,RelWithDebInfo>:${SV_HARDENING}>")
endif()
target_link_options(sv_options INTERFACE "LINKER:-z,relro,-z,now,-z,noexecstack")
