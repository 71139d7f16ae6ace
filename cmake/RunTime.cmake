# Links all targets that are defined after this line to ZerixRuntime.dll (src/runtime) in place of the compiler's run-time
# DLLs. Without default libraries a symbol that ZerixRuntime.dll lacks is a link error, never a second copy of the run time.
add_link_options($<$<LINK_LANGUAGE:CXX>:-nodefaultlibs>)
link_libraries($<$<LINK_LANGUAGE:CXX>:ZerixRuntime>)
# The libraries of C and of the platform that the compiler would link by default. Only measurements of coverage use gcov.
set(CMAKE_CXX_STANDARD_LIBRARIES "${CMAKE_CXX_STANDARD_LIBRARIES} -Wl,--start-group -lgcov -lmingw32 -lgcc -lmoldname \
-lmingwex -lmsvcrt -ladvapi32 -lshell32 -luser32 -lkernel32 -Wl,--end-group")
