#pragma once

// What the keeper and the host that starts it say to each other, in C and in C++.

#include <stdint.h>

// The keeper's end of a connected pair of SOCK_SEQPACKET sockets, as it finds it.
enum
{
    kKeeperSocket = 3
};

// Its arguments: the host's process id in decimal, then the program and its arguments.
enum
{
    kKeeperHostArgument = 1,
    kKeeperProgramArgument = 2
};

// Keeper to host, a packet each: one of the first three, then at most one end.
enum KeeperEvent
{
    kKeeperStarted, // value: the program's process id
    kKeeperNoJob, // value: errno; it cannot hold a tree of processes
    kKeeperNoStart, // value: errno; the program cannot be started
    kKeeperEnded // value: exit code, or 128 and the signal's number
};

struct KeeperMessage
{
    uint32_t event;
    int32_t value;
};

// Host to keeper, a packet each: a byte that says what, and for a file its absolute path behind it.
// The end of the connection means that the whole tree ends, and after it the keeper.
enum
{
    kKeeperKill = 'K', // end the whole tree now
    kKeeperDeleteAtEnd = 'D' // delete this file when the tree has ended at last
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
