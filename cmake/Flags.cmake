# Compiler and linker flags shared by every target.
add_compile_options(-Wall -Wextra -Wpedantic -Wconversion -Wshadow)
# Warnings stop the build only where asked (the presets ask): a packager's or a
# newer compiler's build should not fail on a warning nobody here has seen.
if(VANTOR_WERROR)
  add_compile_options(-Werror)
endif()

if(VANTOR_HARDEN)
  add_compile_options(-O2 -fstack-protector-strong -fstack-clash-protection)
  # Start-up cost is dominated by the dynamic loader binding every imported
  # symbol (-z now): dropping unreferenced code drops its imports too.
  add_compile_options(-ffunction-sections -fdata-sections)
  add_link_options(-Wl,--gc-sections)
  # The product throws nothing and asks no type questions: no exception or type
  # tables in product code. Test code turns both back on.
  add_compile_options(-fno-exceptions -fno-rtti -fno-asynchronous-unwind-tables)
  # A distribution's build flags (CFLAGS, CXXFLAGS) may define _FORTIFY_SOURCE
  # already; they come first on the command line, compile definitions next and
  # options last, so the level is undefined and set here, as options.
  add_compile_options(-U_FORTIFY_SOURCE -D_FORTIFY_SOURCE=3 -fcf-protection)
  add_link_options(-Wl,-z,relro,-z,now,-z,noexecstack)
  # Every executable is a PIE with the C++ runtime linked in; vantor_static_pie()
  # makes it a static one (g++ drops -static-pie beside -static-libstdc++, and a
  # static PIE has every library linked in anyway).
  add_link_options("$<IF:$<BOOL:$<TARGET_PROPERTY:VANTOR_STATIC_PIE>>,-static-pie,-pie;-static-libstdc++;-static-libgcc>")
endif()

# vantor_static_pie(<target>): the shipped binary carries its C library, so it
# starts without the dynamic loader (no symbol binding at start-up) and runs on
# any host or container whatever C library it has, or none. The price: a C
# library security update needs a rebuild of the tool. Nothing it calls needs
# the loader at run time (no NSS, dlopen or iconv); the link would warn.
function(vantor_static_pie target)
  if(VANTOR_HARDEN)
    set_target_properties(${target} PROPERTIES VANTOR_STATIC_PIE ON)
    target_link_options(${target} PRIVATE -Wl,--fatal-warnings)
  endif()
endfunction()

# The C++ library's own checks (span and array bounds, optional access) run in
# every build but the shipped one, so every test preset but release has them.
# The shipped binary leaves them out: their failure path links the library's
# diagnostic printer, its exception machinery and demangler, and a start-up
# constructor that allocates a 71 KB emergency exception pool in every run
# of a program that throws nothing.
if(NOT VANTOR_HARDEN)
  add_compile_definitions(_GLIBCXX_ASSERTIONS)
endif()

if(VANTOR_SANITIZE)
  add_compile_options(-fsanitize=${VANTOR_SANITIZE} -fno-omit-frame-pointer -fno-sanitize-recover=all)
  add_link_options(-fsanitize=${VANTOR_SANITIZE})
endif()

# Fuzz builds: every object carries libFuzzer's coverage hooks, so the product
# code a fuzz target calls is explored, not just the target itself.
if(VANTOR_FUZZ)
  if(NOT CMAKE_CXX_COMPILER_ID MATCHES Clang)
    message(FATAL_ERROR "VANTOR_FUZZ needs clang (libFuzzer)")
  endif()
  add_compile_options(-fsanitize=fuzzer-no-link)
endif()
