#include "inference/orlix_manager_interface.h"

#include <utility>

#include "base/manager_files.h"
#include "inference/protocol.h"
#include "utils/log.h"
#include "utils/paths.h"
#include "utils/sockets.h"

// start, stop and checkRunning are in manager_process.cpp, sendInput in send_input.cpp, the
// settings file in manager_settings.cpp.

namespace tavo::vms_server_plugins::analytics::orlix
{

OrlixManagerInterface::OrlixManagerInterface(
    const std::string& workingDirectory, MessageBoard* messageBoard, std::stop_token stop) :
    m_rootFolder(workingDirectory + manager_files::kRootFolder),
    m_moduleSocketPath(pathOfTemporary(protocol::kModuleSocketFile)),
    m_messageBoard(messageBoard),
    m_stop(std::move(stop))
{
    log_info("Using Orlix Manager root folder: %s\n", m_rootFolder.c_str());
    log_info("Using module socket path: %s\n", m_moduleSocketPath.c_str());
}

OrlixManagerInterface::~OrlixManagerInterface()
{
    m_process = {};
    deleteDecryptedCopies();
}

void OrlixManagerInterface::sendReferenceRun()
{
    send(protocol::Command::referenceRun);
    log_info("OrlixManagerInterface: Sent reference run command"); // one line with the next
}

void OrlixManagerInterface::sendStop()
{
    send(protocol::Command::stop);
    log_info("OrlixManagerInterface: Sent stop command.\n");
}

void OrlixManagerInterface::send(protocol::Command command)
{
    const auto message = SmallMessage::command(command);
    socket_send_once(m_moduleSocketPath, message.data(), message.size());
}

} // namespace tavo::vms_server_plugins::analytics::orlix
