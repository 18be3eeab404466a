#include "CommandRunner.h"

#include <cerrno>
#include <csignal>
#include <cstring>
#include <optional>
#include <vector>

#include <pthread.h>

#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

extern char** environ;

namespace mintbridge {

namespace {

using Clock = std::chrono::steady_clock;

struct Pipe {
    int read = -1;
    int write = -1;
    bool open() { return ::pipe2(&read, O_CLOEXEC) == 0; }
};

void closeFd(int& fd)
{
    if (fd >= 0)
        ::close(fd);
    fd = -1;
}

void setNonBlocking(int fd)
{
    ::fcntl(fd, F_SETFL, ::fcntl(fd, F_GETFL) | O_NONBLOCK);
}

// Reads what is there; false at end of file.
bool drain(int fd, QByteArray& into)
{
    char buffer[16384];
    for (;;) {
        const ssize_t n = ::read(fd, buffer, sizeof buffer);
        if (n > 0) {
            if (into.size() < CommandRunner::maxOutputBytes)
                into.append(buffer, std::min<qsizetype>(n, CommandRunner::maxOutputBytes - into.size()));
            continue;
        }
        if (n == 0)
            return false;
        if (errno == EINTR)
            continue;
        return errno == EAGAIN || errno == EWOULDBLOCK;
    }
}

// A write to a pipe whose reader is gone fails with EPIPE instead of raising SIGPIPE: the
// signal is held for this thread and a pending one taken away.
ssize_t writeWithoutSigpipe(int fd, const char* data, size_t size)
{
    sigset_t pipeSignal;
    sigemptyset(&pipeSignal);
    sigaddset(&pipeSignal, SIGPIPE);
    sigset_t previous;
    pthread_sigmask(SIG_BLOCK, &pipeSignal, &previous);
    const ssize_t n = ::write(fd, data, size);
    const int writeError = errno;
    if (n < 0 && writeError == EPIPE) {
        const timespec noWait { 0, 0 };
        sigtimedwait(&pipeSignal, nullptr, &noWait);
    }
    pthread_sigmask(SIG_SETMASK, &previous, nullptr);
    errno = writeError;
    return n;
}

} // namespace

CommandRunner::Outcome CommandRunner::run(const QString& commandLine, const QByteArray& input,
    const std::map<std::string, std::string>& extraEnvironment, std::chrono::milliseconds timeout)
{
    Outcome outcome;
    const auto started = Clock::now();
    Pipe in;
    Pipe out;
    Pipe err;
    if (!in.open() || !out.open() || !err.open()) {
        outcome.startError = QString::fromLocal8Bit(std::strerror(errno));
        for (int* fd : { &in.read, &in.write, &out.read, &out.write, &err.read, &err.write })
            closeFd(*fd);
        return outcome;
    }

    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, in.read, STDIN_FILENO);
    posix_spawn_file_actions_adddup2(&actions, out.write, STDOUT_FILENO);
    posix_spawn_file_actions_adddup2(&actions, err.write, STDERR_FILENO);

    // A group of its own, so a timeout kills the shell and whatever it started; a clean
    // signal state, since the server blocks its stop signals and ignores SIGPIPE.
    posix_spawnattr_t attributes;
    posix_spawnattr_init(&attributes);
    sigset_t none;
    sigemptyset(&none);
    sigset_t defaults;
    sigemptyset(&defaults);
    sigaddset(&defaults, SIGPIPE);
    sigaddset(&defaults, SIGINT);
    sigaddset(&defaults, SIGTERM);
    posix_spawnattr_setsigmask(&attributes, &none);
    posix_spawnattr_setsigdefault(&attributes, &defaults);
    posix_spawnattr_setpgroup(&attributes, 0);
    posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETPGROUP | POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF);

    std::vector<std::string> environment;
    for (char** entry = environ; entry && *entry; ++entry) {
        const std::string line(*entry);
        const auto equals = line.find('=');
        if (equals != std::string::npos && extraEnvironment.count(line.substr(0, equals)))
            continue;
        environment.push_back(line);
    }
    for (const auto& [name, value] : extraEnvironment)
        environment.push_back(name + '=' + value);
    std::vector<char*> envp;
    for (std::string& line : environment)
        envp.push_back(line.data());
    envp.push_back(nullptr);

    const std::string command = commandLine.toStdString();
    const char* shell = "/bin/sh";
    char* argv[] = { const_cast<char*>("sh"), const_cast<char*>("-c"), const_cast<char*>(command.c_str()), nullptr };
    pid_t pid = -1;
    const int spawned = ::posix_spawn(&pid, shell, &actions, &attributes, argv, envp.data());
    posix_spawn_file_actions_destroy(&actions);
    posix_spawnattr_destroy(&attributes);
    closeFd(in.read);
    closeFd(out.write);
    closeFd(err.write);
    if (spawned != 0) {
        outcome.startError = QString::fromLocal8Bit(std::strerror(spawned));
        closeFd(in.write);
        closeFd(out.read);
        closeFd(err.read);
        return outcome;
    }

    setNonBlocking(in.write);
    setNonBlocking(out.read);
    setNonBlocking(err.read);
    qsizetype written = 0;
    if (input.isEmpty())
        closeFd(in.write);

    const auto deadline = started + timeout;
    bool exited = false;
    int waitStatus = 0;
    std::optional<Clock::time_point> exitedAt;
    bool timedOut = false;
    while (out.read >= 0 || err.read >= 0 || !exited) {
        const auto now = Clock::now();
        if (now >= deadline) {
            timedOut = !exited;
            break;
        }
        // After the command itself ends, its leftovers get a moment to let go of the pipes.
        if (exitedAt && now - *exitedAt > std::chrono::milliseconds(200))
            break;
        pollfd fds[3];
        nfds_t count = 0;
        if (in.write >= 0)
            fds[count++] = { in.write, POLLOUT, 0 };
        if (out.read >= 0)
            fds[count++] = { out.read, POLLIN, 0 };
        if (err.read >= 0)
            fds[count++] = { err.read, POLLIN, 0 };
        const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(deadline - now).count();
        // With its pipes closed the command is about to end: look again soon for its exit.
        const int wait = int(std::min<long long>(left, count == 0 ? 1 : (exited ? 10 : 50)));
        const int ready = count > 0 ? ::poll(fds, count, wait) : (::usleep(useconds_t(wait) * 1000), 0);
        if (ready < 0 && errno != EINTR)
            break;
        for (nfds_t i = 0; i < count && ready > 0; ++i) {
            if (fds[i].revents == 0)
                continue;
            if (fds[i].fd == in.write) {
                if (fds[i].revents & (POLLERR | POLLHUP)) {
                    closeFd(in.write); // the command does not read its input
                    continue;
                }
                const ssize_t n
                    = writeWithoutSigpipe(in.write, input.constData() + written, size_t(input.size() - written));
                if (n > 0)
                    written += n;
                if ((n < 0 && errno != EAGAIN && errno != EINTR) || written >= input.size())
                    closeFd(in.write);
            } else if (fds[i].fd == out.read) {
                if (!drain(out.read, outcome.out))
                    closeFd(out.read);
            } else if (fds[i].fd == err.read) {
                if (!drain(err.read, outcome.err))
                    closeFd(err.read);
            }
        }
        if (!exited) {
            const pid_t done = ::waitpid(pid, &waitStatus, WNOHANG);
            if (done == pid) {
                exited = true;
                exitedAt = Clock::now();
            }
        }
    }

    // Whatever is left of the group goes now: on a timeout the command itself, otherwise
    // anything it left running in the background.
    if (!exited || out.read >= 0 || err.read >= 0)
        ::kill(-pid, SIGKILL);
    if (!exited) {
        while (::waitpid(pid, &waitStatus, 0) < 0 && errno == EINTR) { }
    }
    if (out.read >= 0)
        drain(out.read, outcome.out);
    if (err.read >= 0)
        drain(err.read, outcome.err);
    closeFd(in.write);
    closeFd(out.read);
    closeFd(err.read);

    outcome.elapsed = std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - started);
    if (timedOut) {
        outcome.status = Outcome::Status::TimedOut;
    } else if (WIFEXITED(waitStatus)) {
        outcome.status = Outcome::Status::Exited;
        outcome.exitCode = WEXITSTATUS(waitStatus);
    } else {
        outcome.status = Outcome::Status::Signalled;
        outcome.exitCode = WIFSIGNALED(waitStatus) ? WTERMSIG(waitStatus) : -1;
    }
    return outcome;
}

} // namespace mintbridge
