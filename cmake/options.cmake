# Compile and link options, said once.

function(orvek_common_options target)
  target_include_directories(${target} PUBLIC ${PROJECT_SOURCE_DIR})
  target_compile_options(${target} PRIVATE -Wall -Wextra -Wshadow -Wconversion -Wno-sign-conversion -Werror
                         $<$<CXX_COMPILER_ID:Clang>:-Wno-align-mismatch>)
  target_compile_definitions(${target} PUBLIC ORVEK_VERSION="${PROJECT_VERSION}")
  if(WIN32)
    # __USE_MINGW_ANSI_STDIO: printf understands %lld on every msvcrt.
    target_compile_definitions(${target} PUBLIC __USE_MINGW_ANSI_STDIO=1 _WIN32_WINNT=0x0A00 WINVER=0x0A00
                               WIN32_LEAN_AND_MEAN NOMINMAX)
  endif()
  if(ORVEK_SANITIZE)
    target_compile_options(${target} PUBLIC -fsanitize=address,undefined -fno-sanitize-recover=all
                           -fno-omit-frame-pointer)
    target_link_options(${target} PUBLIC -fsanitize=address,undefined)
  endif()
  if(ORVEK_FUZZ)
    target_compile_options(${target} PUBLIC -fsanitize=fuzzer-no-link,address,undefined -fno-sanitize-recover=all)
    target_link_options(${target} PUBLIC -fsanitize=address,undefined)
  endif()
endfunction()

# What ships: no exceptions, no run-time type information.
function(orvek_product_options target)
  orvek_common_options(${target})
  target_compile_options(${target} PRIVATE -fno-exceptions -fno-rtti)
endfunction()

# A Windows program that needs nothing beside Windows: everything static, every hardening switch the linker has, and no
# time of day.
function(orvek_windows_program target)
  target_link_options(${target} PRIVATE -static -Wl,--dynamicbase,--high-entropy-va,--nxcompat,--no-insert-timestamp)
endfunction()

# A file of orvek_core that works with 32-byte registers. Windows aligns the stack to 16 bytes and the compiler does not
# know better for the registers that it spills: the assembler makes every aligned move of that file an unaligned one,
# which costs nothing.
function(orvek_avx2_source file)
  if(WIN32)
    set_source_files_properties(${file} TARGET_DIRECTORY orvek_core PROPERTIES COMPILE_OPTIONS
                                -Wa,-muse-unaligned-vector-move)
  endif()
endfunction()
