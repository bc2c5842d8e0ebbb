#pragma once

// What to do about what is not good. docs/operating.md has each of these in the same words;
// scripts/check_guide.sh sees to it.

namespace tavo::vms_server_plugins::analytics::orlix::way_out
{

inline constexpr char kSystem[] = "Take a system that tells its name in /etc/os-release.";
inline constexpr char kAvx2[] =
    "Let the virtual machine pass AVX2 through, or take another processor.";
inline constexpr char kOpenMp[] = "Install libgomp1 (RHEL: libgomp), and restart the host.";
inline constexpr char kDriver[] =
    "Install a driver of a version that is supported, and restart the host.";
inline constexpr char kNoRuntime[] = "Mend what the lines of the accelerators say.";
inline constexpr char kMakeFolder[] = "Make the folder, for the host's user.";
inline constexpr char kGiveRight[] = "Give the host's user the right to write there.";
inline constexpr char kSticky[] =
    "Set its sticky bit (chmod +t): anybody may delete the sockets of others there.";
inline constexpr char kMakeRoom[] =
    "Make room. WorkingDirectory and TMPDIR name other disks; a container has --shm-size.";
inline constexpr char kNoexec[] = "Take another disk by WorkingDirectory.";
inline constexpr char kOwnFolder[] =
    "Give the host's service a temporary folder of its own, with a short path, by TMPDIR "
    "(Windows: TMP).";
inline constexpr char kMendIni[] = "Mend the line, and restart the host.";
inline constexpr char kReach[] =
    "See that this machine reaches it, and that the proxy of the host's environment is right.";
inline constexpr char kTrust[] =
    "See that the clock is right, and name the file of an authority to believe with caBundle.";
inline constexpr char kFetched[] =
    "It is fetched when a camera is switched on and the host is connected to the cloud.";
inline constexpr char kReselect[] = "Assign another model, or press \"Reselect Runtime\".";
inline constexpr char kRetry[] = "Press \"Retry Model Downloads\".";
inline constexpr char kClear[] = "Press \"Clear Cache\", so that model and key come anew.";
inline constexpr char kCrash[] =
    "Read orlix_manager/etc/*_crash.log: 137 is a kill, mostly for lack of memory, 139 an access "
    "violation in the engine or in the accelerator's driver.";
inline constexpr char kLeft[] = "Delete it, if no other server on this machine runs.";

} // namespace tavo::vms_server_plugins::analytics::orlix::way_out
