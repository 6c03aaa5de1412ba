# Compiler and linker flags shared by every target.
add_compile_options(-Wall -Wextra -Wpedantic -Wconversion -Wshadow -Werror)

if(VANTOR_HARDEN)
  add_compile_options(-O2 -fstack-protector-strong -fstack-clash-protection)
  # Start-up cost is dominated by the dynamic loader binding every imported
  # symbol (-z now): dropping unreferenced code drops its imports too.
  add_compile_options(-ffunction-sections -fdata-sections)
  add_link_options(-Wl,--gc-sections)
  # The product throws nothing and asks no type questions: no exception or type
  # tables in product code. Test code turns both back on.
  add_compile_options(-fno-exceptions -fno-rtti -fno-asynchronous-unwind-tables)
  add_compile_definitions(_FORTIFY_SOURCE=3 _GLIBCXX_ASSERTIONS)
  add_link_options(-pie -Wl,-z,relro,-z,now,-z,noexecstack -static-libstdc++ -static-libgcc)
endif()

if(VANTOR_SANITIZE)
  add_compile_options(-fsanitize=${VANTOR_SANITIZE} -fno-omit-frame-pointer -fno-sanitize-recover=all)
  add_link_options(-fsanitize=${VANTOR_SANITIZE})
endif()
