#pragma once

#include "media/frame_observer.h"
#include "metadata/metadata_sink.h"

namespace tavo::devkit
{

// Sees what the host shows to the library and what it gets back.
class HostObserver : public FrameObserver, public MetadataSink::Listener
{};

} // namespace tavo::devkit
