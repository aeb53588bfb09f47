// One running PDF helper and the socket to it.
// Threads: bound. The helper dies with the thread that started it (PR_SET_PDEATHSIG), so the thread
// must be one that lives as long as the helper is wanted.
#pragma once

#include <chrono>
#include <filesystem>
#include <memory>
#include <string>

#include <sys/types.h>

#include "base/UniqueFd.h"
#include "platform/linux/pdf/PdfProtocol.h"

#include <vector>

namespace lanternfly {

class PdfWorkerProcess {
public:
    using Deadline = std::chrono::steady_clock::time_point;
    enum class Received { message, timeout, closed };

    // Starts the program with an empty environment and with no descriptor of ours but its end of
    // the socket. Null after logging when it cannot be started.
    static std::unique_ptr<PdfWorkerProcess> start(const std::filesystem::path& executable);
    // Kills the helper and collects it: none stays behind.
    ~PdfWorkerProcess();
    PdfWorkerProcess(const PdfWorkerProcess&) = delete;
    PdfWorkerProcess& operator=(const PdfWorkerProcess&) = delete;

    // Never blocks. False when the helper cannot take it.
    bool send(const pdfwire::Message& message, int descriptor = -1);
    // A datagram longer than a message arrives as one of size 0, which no decoder accepts.
    Received receive(pdfwire::Message& message, Deadline deadline);

    bool hasEnded();
    // Kills the helper if it still runs; "killed by signal 9 (Killed)", for people to read.
    std::string end();
    pid_t pid() const { return _pid; }

private:
    PdfWorkerProcess(pid_t pid, UniqueFd channel) : _pid(pid), _channel(std::move(channel)) {}

    pid_t _pid;
    UniqueFd _channel;
    bool _isCollected = false;
    int _status = 0;
};

// Where the helper is: $LANTERNFLY_PDF_WORKER, beside this program, in its libexec folders, or in
// the build tree that this program runs from. Empty when it is nowhere.
std::filesystem::path findPdfWorker();

} // namespace lanternfly
