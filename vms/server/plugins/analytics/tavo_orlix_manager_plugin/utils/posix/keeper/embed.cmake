# cmake -DINPUT=program -DOUTPUT=source.cpp -P embed.cmake: a source file that holds the program.
file(READ ${INPUT} hex HEX)
string(REGEX REPLACE "([0-9a-f][0-9a-f])" "0x\\1," bytes "${hex}")
file(WRITE ${OUTPUT} "#include \"utils/posix/keeper_image.h\"

namespace tavo::vms_server_plugins::analytics::orlix
{

static const unsigned char bytes[] = {${bytes}};
const std::span<const unsigned char> kKeeperImage(bytes);

} // namespace tavo::vms_server_plugins::analytics::orlix
")
