# The folder of a platform's sources, what these call of the system, and what archives for it are
# called; nothing outside these folders may ask where it runs.

if(WIN32)
    set(TAVO_PLATFORM_FOLDER windows)
    set(TAVO_ARCHIVE_TAG w64)
    set(TAVO_SYSTEM_LIBRARIES ws2_32 bcrypt advapi32)
else()
    set(TAVO_PLATFORM_FOLDER posix)
    set(TAVO_ARCHIVE_TAG linux)
    set(TAVO_SYSTEM_LIBRARIES ${CMAKE_DL_LIBS})
endif()
set(TAVO_TARGET ${CMAKE_SYSTEM_PROCESSOR}-${TAVO_ARCHIVE_TAG})
