#pragma once

// What the keeper and the host that starts it say to each other, in C and in C++.

#include <stdint.h>

// The keeper's end of a connected pair of SOCK_SEQPACKET sockets, as it finds it.
enum
{
    kKeeperSocket = 3
};

// Its arguments: the host's process id in decimal; what its standard error is; then the program and
// its arguments.
enum
{
    kKeeperHostArgument = 1,
    kKeeperErrorsArgument = 2,
    kKeeperProgramArgument = 3
};

// Its standard error is the program's, or a pipe for the last words: what the program writes to its
// own is then drained as it comes, and when it has ended the last of it goes into the pipe, ahead
// of the message that tells the end.
#define KEEPER_ERRORS_OF_PROGRAM "program"
#define KEEPER_ERRORS_LAST_WORDS "last words"

enum
{
    kKeeperLastWords = 64 * 1024 // bytes at most
};

// Keeper to host, a packet each: one of the first two, and after a start one of the next two, then
// at most one end.
enum KeeperEvent
{
    kKeeperReady,
    kKeeperNoJob, // value: errno; it cannot hold a tree of processes
    kKeeperStarted, // value: the program's process id
    kKeeperNoStart, // value: errno; the program cannot be started
    kKeeperEnded // value: exit code, or 128 and the signal's number
};

struct KeeperMessage
{
    uint32_t event;
    int32_t value;
};

// Host to keeper, a packet each: a byte that says what, and for a file its absolute path behind it
// and its descriptor along with it. The end of the connection means that the whole tree ends, and
// after it the keeper.
enum
{
    kKeeperStart = 'S', // start the program, once
    kKeeperKill = 'K', // end the whole tree now
    kKeeperDeleteAtEnd = 'D' // delete this file, and no other of that path, when all has ended
};

// With the byte ahead of it, and no terminator.
enum
{
    kKeeperMaxPath = 4096
};

// The exit code of a program that was ended so.
enum
{
    kKeeperKilledCode = 9
};
