# The README shows the host program in full; this keeps the listing and
# samples/host/host.cpp (which the install test builds) the same text.
#   cmake -DREADME=... -DHOST=... -P ReadmeListing.cmake
file(READ ${README} readme)
file(READ ${HOST} host)
string(FIND "${readme}" "```cpp\n${host}```" at)
if(at EQUAL -1)
    message(FATAL_ERROR "README.md does not show ${HOST} as it stands")
endif()
