#include "media/annotator.h"

#include <stdexcept>

namespace tavo::devkit
{

std::unique_ptr<Annotator> makeAnnotator(Annotator::Output)
{
    throw std::runtime_error("This build cannot draw: it has neither libav nor OpenCV.");
}

} // namespace tavo::devkit
