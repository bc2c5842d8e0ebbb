#include "run_with_page.h"

#include <stdexcept>

namespace tavo::devkit
{

bool runWithPage(const Options&)
{
    throw std::runtime_error("This build serves no page: it has no OpenCV for the pictures.");
}

} // namespace tavo::devkit
