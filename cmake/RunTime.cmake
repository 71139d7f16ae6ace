# Links what is defined after this line to ZerixRuntime.dll (src/runtime) instead of the compiler's own run-time DLLs.
# Without default libraries a symbol that ZerixRuntime.dll lacks is a link error, never a second copy of the run time.
add_link_options($<$<LINK_LANGUAGE:CXX>:-nodefaultlibs>)
link_libraries($<$<LINK_LANGUAGE:CXX>:ZerixRuntime>)
# The C library and the platform as the compiler would link them. Only measurements of coverage use gcov.
set(CMAKE_CXX_STANDARD_LIBRARIES "${CMAKE_CXX_STANDARD_LIBRARIES} -Wl,--start-group -lgcov -lmingw32 -lgcc -lmoldname \
-lmingwex -lmsvcrt -ladvapi32 -lshell32 -luser32 -lkernel32 -Wl,--end-group")
