#include "app/ProcessSignals.h"

#include <QCoreApplication>
#include <QSocketNotifier>

#include <csignal>
#include <sys/socket.h>
#include <unistd.h>

namespace {

int signalPipe[2] = {-1, -1};

// Runs in the signal handler: only a write of the signal's number.
void forward(int signal)
{
    const unsigned char number = static_cast<unsigned char>(signal);
    [[maybe_unused]] const ssize_t written = ::write(signalPipe[1], &number, 1);
}

}  // namespace

void onSignals(std::function<void(int signal)> handle, std::initializer_list<int> which)
{
    if (::socketpair(AF_UNIX, SOCK_STREAM, 0, signalPipe) != 0)
        return;
    auto* notifier = new QSocketNotifier(signalPipe[0], QSocketNotifier::Read, QCoreApplication::instance());
    QObject::connect(notifier, &QSocketNotifier::activated, notifier, [handle = std::move(handle)] {
        unsigned char number = 0;
        if (::read(signalPipe[0], &number, 1) == 1)
            handle(number);
    });
    struct sigaction action {};
    action.sa_handler = forward;
    sigemptyset(&action.sa_mask);
    action.sa_flags = SA_RESTART;
    for (int signal : which)
        sigaction(signal, &action, nullptr);
}
