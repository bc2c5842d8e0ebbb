// The keeper stands between a host and one program that the host starts. It holds the program and
// all that this starts, however it detaches itself, and ends all of it when the host says so, or
// when the host has ended in any way. utils/process.h tells what callers see of it.
//
// It is the subreaper of its tree: a process whose parent ends becomes a child of the keeper. So
// killing its children until it has none ends the whole tree. The program is tied to the keeper's
// life besides, in case somebody kills the keeper.
//
// A program of its own rather than a fork of the host: a fork of a server copies its page tables at
// once and its memory bit by bit, and may run next to nothing. In C, to be small and quick to
// start.

#define _GNU_SOURCE

#include <dirent.h>
#include <errno.h>
#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <stdbool.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/prctl.h>
#include <sys/signalfd.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include "protocol.h"

enum
{
    kLookForHostMs = 500, // where the host's end cannot be waited for
    kFirstKillPauseMs = 10,
    kLongestKillPauseMs = 1000,
    kAboveStandard = 10
};

struct File
{
    char* path;
    int descriptor; // keeps its number from going to another file
    dev_t device;
    ino_t number;
};

static pid_t g_keeper; // this process
static pid_t g_host;
static int g_hostDescriptor; // readable once the host has ended; -1 where there is no such thing
static int g_children; // readable when a child has ended
static pid_t g_program; // 0 once its end was told
static bool g_killed;
static struct File* g_files; // to be deleted at the end
static size_t g_fileCount;
static int g_errors = -1; // what the program writes to its standard error, if it is drained
static int g_lastWords = -1; // where the last of it goes
static char g_text[2 * kKeeperLastWords]; // the last of it
static size_t g_textLength;
static bool g_textIsCut;

static void tell(uint32_t event, int32_t value)
{
    const struct KeeperMessage message = {event, value};
    // A host that does not listen has ended, or learns of it from the end of the connection.
    (void)send(kKeeperSocket, &message, sizeof message, MSG_NOSIGNAL | MSG_DONTWAIT);
}

static bool hostHasEnded(void)
{
    return getppid() != g_host;
}

// Of the host come the standard streams, which are the program's, and the socket; what else it did
// not mark as its own is closed.
static void takeDescriptors(void)
{
    int descriptor;
    closefrom(kKeeperSocket + 1);
    fcntl(kKeeperSocket, F_SETFD, FD_CLOEXEC);
    do
        descriptor = open("/dev/null", O_RDWR);
    while (descriptor >= 0 && descriptor <= STDERR_FILENO);
    close(descriptor);
}

// What ends a host gracefully, and is sent to its helpers too, must not end the keeper first.
static void takeSignals(void)
{
    sigset_t childSignal;
    for (int number = 1; number < NSIG; ++number)
        signal(number, number == SIGCHLD ? SIG_DFL : SIG_IGN);
    sigemptyset(&childSignal);
    sigaddset(&childSignal, SIGCHLD);
    sigprocmask(SIG_BLOCK, &childSignal, NULL);
    g_children = signalfd(-1, &childSignal, SFD_CLOEXEC | SFD_NONBLOCK);
}

// Ends in the program, or gives errno to `errors`.
static void becomeProgram(char** arguments, int errors)
{
    sigset_t none;
    int error;
    for (int number = 1; number < NSIG; ++number)
        signal(number, SIG_DFL);
    sigemptyset(&none);
    sigprocmask(SIG_SETMASK, &none, NULL);
    setpgid(0, 0);
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    if (getppid() == g_keeper)
        execvp(arguments[0], arguments);
    error = errno;
    if (write(errors, &error, sizeof error) < 0)
        _exit(EXIT_FAILURE);
    _exit(EXIT_FAILURE);
}

// Gives 0, or errno.
static int drainErrors(void)
{
    int ends[2];
    g_lastWords = fcntl(STDERR_FILENO, F_DUPFD_CLOEXEC, kAboveStandard);
    if (g_lastWords < 0 || pipe2(ends, O_CLOEXEC) != 0)
        return errno;
    g_errors = fcntl(ends[0], F_DUPFD_CLOEXEC, kAboveStandard);
    fcntl(g_errors, F_SETFL, O_NONBLOCK); // the program's own end waits for the keeper
    const bool isGiven = g_errors >= 0 && dup2(ends[1], STDERR_FILENO) >= 0;
    const int error = errno;
    close(ends[0]);
    close(ends[1]);
    return isGiven ? 0 : error;
}

// False when there is nothing to be read for now.
static bool readErrors(void)
{
    if (sizeof g_text - g_textLength < kKeeperLastWords)
    {
        memmove(g_text, g_text + g_textLength - kKeeperLastWords, kKeeperLastWords);
        g_textLength = kKeeperLastWords;
        g_textIsCut = true;
    }
    const ssize_t count = read(g_errors, g_text + g_textLength, sizeof g_text - g_textLength);
    if (count > 0)
    {
        g_textLength += (size_t)count;
        return true;
    }
    if (count == 0 || (errno != EAGAIN && errno != EINTR))
    {
        close(g_errors);
        g_errors = -1;
    }
    return false;
}

// As much of the end as the pipe holds, from the start of a line on.
static void tellLastWords(void)
{
    enum
    {
        kEnough = 256 // of one that is still written to
    };
    for (int i = 0; i < kEnough && g_errors >= 0 && readErrors(); ++i)
        continue;
    const int capacity = fcntl(g_lastWords, F_GETPIPE_SZ);
    const size_t room =
        capacity > 0 && capacity < kKeeperLastWords ? (size_t)capacity : kKeeperLastWords;
    const char* text = g_text;
    size_t length = g_textLength;
    if (length > room || g_textIsCut)
    {
        text += length > room ? length - room : 0;
        length = length > room ? room : length;
        const char* const lineEnd = memchr(text, '\n', length);
        if (lineEnd && lineEnd + 1 < text + length)
        {
            length -= (size_t)(lineEnd + 1 - text);
            text = lineEnd + 1;
        }
    }
    while (length > 0)
    {
        const ssize_t count = write(g_lastWords, text, length);
        if (count < 0 && errno != EINTR)
            break;
        text += count > 0 ? count : 0;
        length -= count > 0 ? (size_t)count : 0;
    }
    close(g_lastWords);
    g_lastWords = -1;
}

// Gives 0, or errno.
static int startProgram(char** arguments)
{
    int errors[2];
    int error = 0;
    ssize_t count;
    if (pipe2(errors, O_CLOEXEC) != 0)
        return errno;
    g_program = fork();
    if (g_program == 0)
        becomeProgram(arguments, errors[1]);
    if (g_program < 0)
        error = errno;
    close(errors[1]);
    do
        count = g_program < 0 ? 0 : read(errors[0], &error, sizeof error);
    while (count < 0 && errno == EINTR);
    close(errors[0]);
    if (error == 0)
        return 0;
    if (g_program > 0)
        waitpid(g_program, NULL, 0);
    g_program = 0;
    return error;
}

// What the program writes to ends with the program, and so does its hold on a folder.
static void leaveToProgram(void)
{
    const int nowhere = open("/dev/null", O_RDWR | O_CLOEXEC);
    for (int stream = STDIN_FILENO; stream <= STDERR_FILENO; ++stream)
        dup2(nowhere, stream);
    close(nowhere);
    if (chdir("/") != 0)
        return;
}

static int exitCodeOf(int status)
{
    if (WIFEXITED(status))
        return WEXITSTATUS(status);
    if (g_killed && WTERMSIG(status) == SIGKILL)
        return kKeeperKilledCode;
    return 128 + WTERMSIG(status);
}

// False when no child is left.
static bool reapChildren(void)
{
    int status;
    pid_t child;
    while ((child = waitpid(-1, &status, WNOHANG)) > 0)
    {
        if (child == g_program)
        {
            g_program = 0;
            if (g_lastWords >= 0)
                tellLastWords();
            tell(kKeeperEnded, exitCodeOf(status));
        }
    }
    return child == 0;
}

// The parent's process id, of a line "pid (name) state ppid ..." in which the name may hold
// anything.
static pid_t parentOf(const char* processId)
{
    char path[64];
    char text[512];
    int parent = 0;
    snprintf(path, sizeof path, "/proc/%.32s/stat", processId);
    FILE* const file = fopen(path, "re");
    if (!file)
        return 0;
    const size_t length = fread(text, 1, sizeof text - 1, file);
    fclose(file);
    text[length] = '\0';
    const char* const behindName = strrchr(text, ')');
    return behindName && sscanf(behindName, ") %*c %d", &parent) == 1 ? parent : 0;
}

static void killChildren(void)
{
    const struct dirent* entry;
    if (g_program > 0)
        kill(g_program, SIGKILL);
    DIR* const processes = opendir("/proc");
    if (!processes)
        return;
    while ((entry = readdir(processes)))
    {
        // The id of a child cannot have gone to another process: only the keeper reaps it.
        const pid_t process = atoi(entry->d_name);
        if (process > 0 && parentOf(entry->d_name) == g_keeper)
            kill(process, SIGKILL);
    }
    closedir(processes);
}

static void discardSignals(void)
{
    struct signalfd_siginfo ignored[8];
    while (read(g_children, ignored, sizeof ignored) > 0)
        continue;
}

// Each round reaches the children of those that the round before has killed.
static void killTree(void)
{
    int pauseMs = kFirstKillPauseMs;
    while (reapChildren())
    {
        struct pollfd children = {g_children, POLLIN, 0};
        discardSignals();
        killChildren();
        // One that cannot be killed, or not yet, is looked for less and less often.
        if (poll(&children, 1, pauseMs) == 0 && pauseMs < kLongestKillPauseMs)
            pauseMs *= 2;
    }
}

// The file itself is what is remembered: at the end its path may be that of a later one. An open
// descriptor keeps its number from being given to another.
static void rememberFile(const char* path, size_t length, int descriptor)
{
    struct stat status;
    struct File* const files = realloc(g_files, (g_fileCount + 1) * sizeof *g_files);
    char* const copy = strndup(path, length);
    if (files)
        g_files = files;
    if (!files || !copy || (descriptor >= 0 ? fstat(descriptor, &status) : lstat(copy, &status)))
    {
        free(copy);
        if (descriptor >= 0)
            close(descriptor);
        return;
    }
    g_files[g_fileCount++] = (struct File){copy, descriptor, status.st_dev, status.st_ino};
}

static void deleteFiles(void)
{
    struct stat status;
    for (size_t i = 0; i < g_fileCount; ++i)
    {
        const struct File* const file = g_files + i;
        if (lstat(file->path, &status) == 0 && status.st_dev == file->device &&
            status.st_ino == file->number)
        {
            unlink(file->path);
        }
    }
}

// Gives the length, 0 at the end of the connection, or -1. `descriptor` is -1 where none came.
static ssize_t receiveRequest(char* request, size_t size, int* descriptor)
{
    union {
        struct cmsghdr header;
        char bytes[CMSG_SPACE(sizeof(int))];
    } control;
    struct iovec part = {request, size};
    struct msghdr message = {
        .msg_iov = &part,
        .msg_iovlen = 1,
        .msg_control = &control,
        .msg_controllen = sizeof control};
    *descriptor = -1;
    const ssize_t count = recvmsg(kKeeperSocket, &message, MSG_DONTWAIT | MSG_CMSG_CLOEXEC);
    const struct cmsghdr* const header = count > 0 ? CMSG_FIRSTHDR(&message) : NULL;
    if (header && header->cmsg_type == SCM_RIGHTS && header->cmsg_len == CMSG_LEN(sizeof(int)))
        memcpy(descriptor, CMSG_DATA(header), sizeof(int));
    return count;
}

static void startAndTell(char** arguments)
{
    const int error = startProgram(arguments);
    leaveToProgram();
    if (error != 0)
        tell(kKeeperNoStart, error);
    else
        tell(kKeeperStarted, g_program);
}

// False when the connection has ended.
static bool serve(char** program)
{
    static char request[kKeeperMaxPath];
    static bool wasStarted;
    int descriptor;
    const ssize_t count = receiveRequest(request, sizeof request, &descriptor);
    if (count <= 0)
        return count < 0 && (errno == EINTR || errno == EAGAIN);
    if (request[0] == kKeeperDeleteAtEnd)
    {
        rememberFile(request + 1, (size_t)count - 1, descriptor);
        return true;
    }
    if (descriptor >= 0)
        close(descriptor);
    if (request[0] == kKeeperStart && !wasStarted)
    {
        wasStarted = true;
        startAndTell(program);
    }
    else if (request[0] == kKeeperKill)
    {
        g_killed = true;
        killTree();
    }
    return true;
}

// Until the host has let go of the tree or has ended.
static void keep(char** program)
{
    for (;;)
    {
        struct pollfd events[] = {
            {kKeeperSocket, POLLIN, 0},
            {g_children, POLLIN, 0},
            {g_hostDescriptor, POLLIN, 0},
            {g_errors, POLLIN, 0}};
        poll(events, 4, g_hostDescriptor < 0 ? kLookForHostMs : -1);
        if (events[2].revents != 0 || hostHasEnded())
            return;
        if (events[3].revents != 0)
            readErrors();
        if (events[1].revents != 0)
        {
            discardSignals();
            reapChildren();
        }
        if (events[0].revents != 0 && !serve(program))
            return;
    }
}

// What a host that is gone has still asked for. Nothing is started any more.
static void takeLastRequests(void)
{
    char request[kKeeperMaxPath];
    int descriptor;
    ssize_t count;
    while ((count = receiveRequest(request, sizeof request, &descriptor)) > 0)
    {
        if (request[0] == kKeeperDeleteAtEnd)
            rememberFile(request + 1, (size_t)count - 1, descriptor);
    }
}

// Gives 0, or errno.
static int makeReady(const char* errors)
{
    if (g_children < 0 || prctl(PR_SET_CHILD_SUBREAPER, 1) != 0)
        return errno;
    return strcmp(errors, KEEPER_ERRORS_LAST_WORDS) == 0 ? drainErrors() : 0;
}

int main(int argumentCount, char** arguments)
{
    if (argumentCount <= kKeeperProgramArgument)
        return EXIT_FAILURE;
    takeDescriptors();
    takeSignals();
    prctl(PR_SET_NAME, arguments[0]);
    g_keeper = getpid();
    g_host = atoi(arguments[kKeeperHostArgument]);
    g_hostDescriptor = (int)syscall(SYS_pidfd_open, g_host, 0);
    if (hostHasEnded())
        return EXIT_FAILURE;
    const int error = makeReady(arguments[kKeeperErrorsArgument]);
    tell(error == 0 ? kKeeperReady : kKeeperNoJob, error);
    // Also after a failure, so that this process's id means no other as long as the host uses it.
    keep(arguments + kKeeperProgramArgument);
    takeLastRequests();
    killTree();
    deleteFiles();
    return EXIT_SUCCESS;
}
