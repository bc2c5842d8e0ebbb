#include "utils/json_mpack.h"

#include <cstddef>
#include <new>
#include <string>

#include "utils/log.h"

namespace tavo::vms_server_plugins::analytics::orlix
{
namespace
{

bool writeJson(yyjson_val* value, mpack_writer_t* writer, int depth);

void writeNumber(yyjson_val* value, mpack_writer_t* writer)
{
    if (yyjson_is_uint(value))
        mpack_write_u64(writer, yyjson_get_uint(value));
    else if (yyjson_is_sint(value))
        mpack_write_i64(writer, yyjson_get_sint(value));
    else
        mpack_write_double(writer, yyjson_get_real(value));
}

void writeText(yyjson_val* text, mpack_writer_t* writer)
{
    mpack_write_str(writer, yyjson_get_str(text), static_cast<std::uint32_t>(yyjson_get_len(text)));
}

bool writeJsonArray(yyjson_val* array, mpack_writer_t* writer, int depth)
{
    mpack_start_array(writer, static_cast<std::uint32_t>(yyjson_arr_size(array)));
    yyjson_arr_iter elements = yyjson_arr_iter_with(array);
    while (yyjson_val* const element = yyjson_arr_iter_next(&elements))
    {
        if (!writeJson(element, writer, depth + 1))
            return false;
    }
    mpack_finish_array(writer);
    return true;
}

bool writeJsonObject(yyjson_val* object, mpack_writer_t* writer, int depth)
{
    mpack_start_map(writer, static_cast<std::uint32_t>(yyjson_obj_size(object)));
    yyjson_obj_iter members = yyjson_obj_iter_with(object);
    while (yyjson_val* const key = yyjson_obj_iter_next(&members))
    {
        writeText(key, writer);
        if (!writeJson(yyjson_obj_iter_get_val(key), writer, depth + 1))
            return false;
    }
    mpack_finish_map(writer);
    return true;
}

bool writeJson(yyjson_val* value, mpack_writer_t* writer, int depth)
{
    if (depth > kMaxTreeDepth)
    {
        log_info("WARNING! JSON value is nested too deep\n");
        return false;
    }
    switch (yyjson_get_type(value))
    {
        case YYJSON_TYPE_BOOL:
            mpack_write_bool(writer, yyjson_get_bool(value));
            return true;
        case YYJSON_TYPE_NUM:
            writeNumber(value, writer);
            return true;
        case YYJSON_TYPE_STR:
            writeText(value, writer);
            return true;
        case YYJSON_TYPE_ARR:
            return writeJsonArray(value, writer, depth);
        case YYJSON_TYPE_OBJ:
            return writeJsonObject(value, writer, depth);
        default:
            log_info("WARNING! Unknown YYJSON_TYPE %d\n", static_cast<int>(yyjson_get_type(value)));
            return false;
    }
}

bool writeNode(mpack_node_t node, mpack_writer_t* writer, int depth);

// A container's count is written before its children: one that cannot be written spoils it.
void writeChild(mpack_node_t child, mpack_writer_t* writer, int depth)
{
    if (!writeNode(child, writer, depth + 1))
        mpack_writer_flag_error(writer, mpack_error_data);
}

void writeNodeArray(mpack_node_t node, mpack_writer_t* writer, int depth)
{
    const std::size_t length = mpack_node_array_length(node);
    mpack_start_array(writer, static_cast<std::uint32_t>(length));
    for (std::size_t i = 0; i < length; ++i)
        writeChild(mpack_node_array_at(node, i), writer, depth);
    mpack_finish_array(writer);
}

void writeNodeMap(mpack_node_t node, mpack_writer_t* writer, int depth)
{
    const std::size_t count = mpack_node_map_count(node);
    mpack_start_map(writer, static_cast<std::uint32_t>(count));
    for (std::size_t i = 0; i < count; ++i)
    {
        writeChild(mpack_node_map_key_at(node, i), writer, depth);
        writeChild(mpack_node_map_value_at(node, i), writer, depth);
    }
    mpack_finish_map(writer);
}

// False when nothing was written.
bool writeNode(mpack_node_t node, mpack_writer_t* writer, int depth)
{
    if (depth > kMaxTreeDepth)
    {
        mpack_writer_flag_error(writer, mpack_error_too_big);
        return true;
    }
    switch (mpack_node_type(node))
    {
        case mpack_type_bool:
            mpack_write_bool(writer, mpack_node_bool(node));
            return true;
        case mpack_type_int:
            mpack_write_i64(writer, mpack_node_i64(node));
            return true;
        case mpack_type_uint:
            mpack_write_u64(writer, mpack_node_u64(node));
            return true;
        case mpack_type_float:
            mpack_write_float(writer, mpack_node_float_strict(node));
            return true;
        case mpack_type_double:
            mpack_write_double(writer, mpack_node_double_strict(node));
            return true;
        case mpack_type_str:
            mpack_write_str(
                writer, mpack_node_str(node), static_cast<std::uint32_t>(mpack_node_strlen(node)));
            return true;
        case mpack_type_bin:
            mpack_write_bin(
                writer, mpack_node_bin_data(node),
                static_cast<std::uint32_t>(mpack_node_bin_size(node)));
            return true;
        case mpack_type_array:
            writeNodeArray(node, writer, depth);
            return true;
        case mpack_type_map:
            writeNodeMap(node, writer, depth);
            return true;
        default:
            log_info("Warning! Unknown mpack type: %d\n", static_cast<int>(mpack_node_type(node)));
            return false;
    }
}

void printIndent(int depth)
{
    print_out("%s", std::string(static_cast<std::size_t>(depth) * 2, ' ').c_str());
}

void printNode(mpack_node_t node, int depth)
{
    if (depth > kMaxTreeDepth)
    {
        print_out("...");
        return;
    }
    switch (mpack_node_type(node))
    {
        case mpack_type_bool:
            print_out("%s", mpack_node_bool(node) ? "true" : "false");
            break;
        case mpack_type_int:
            print_out("%lld", static_cast<long long>(mpack_node_i64(node)));
            break;
        case mpack_type_uint:
            print_out("%llu", static_cast<unsigned long long>(mpack_node_u64(node)));
            break;
        case mpack_type_float:
        case mpack_type_double:
            print_out("%f", mpack_node_double(node));
            break;
        case mpack_type_str:
            print_out("\"%.*s\"", static_cast<int>(mpack_node_strlen(node)), mpack_node_str(node));
            break;
        case mpack_type_bin:
            print_out("< binary data, size %zu >\n", mpack_node_bin_size(node));
            break;
        case mpack_type_array:
            printIndent(depth);
            print_out("[\n");
            for (std::size_t i = 0; i < mpack_node_array_length(node); ++i)
            {
                printIndent(depth);
                printNode(mpack_node_array_at(node, i), depth + 1);
                print_out(",\n");
            }
            printIndent(depth);
            print_out("]");
            break;
        case mpack_type_map:
            print_out("{\n");
            for (std::size_t i = 0; i < mpack_node_map_count(node); ++i)
            {
                printIndent(depth);
                printNode(mpack_node_map_key_at(node, i), depth + 1);
                print_out(": ");
                printNode(mpack_node_map_value_at(node, i), depth + 1);
                print_out(",\n");
            }
            printIndent(depth);
            print_out("}");
            break;
        default:
            print_out("Warning! Unknown mpack type: %d\n", static_cast<int>(mpack_node_type(node)));
            break;
    }
}

} // namespace

std::unique_ptr<MpackTree> json_to_mpack_tree(yyjson_val* value)
{
    MpackGrowableWriter writer;
    const bool whole = json_to_mpack_write(value, writer.writer());
    const mpack_error_t error = writer.close();
    if (error == mpack_error_memory)
        throw std::bad_alloc();
    if (!whole || error != mpack_ok)
    {
        log_info("Problem writing data: %s\n", mpack_error_to_string(error));
        return nullptr;
    }
    const std::size_t size = writer.bytes().size();
    auto tree = std::make_unique<MpackTree>(writer.takeBytes(), size);
    if (tree->error() == mpack_error_memory)
        throw std::bad_alloc();
    if (tree->error() != mpack_ok)
        return nullptr;
    return tree;
}

bool json_to_mpack_write(yyjson_val* value, mpack_writer_t* writer)
{
    return writeJson(value, writer, 0);
}

void mpack_node_write(mpack_node_t node, mpack_writer_t* writer)
{
    writeNode(node, writer, 0);
}

std::unique_ptr<MpackTree> mpack_node_clone(mpack_node_t node)
{
    MpackGrowableWriter writer;
    mpack_node_write(node, writer.writer());
    const mpack_error_t error = writer.close();
    if (error != mpack_ok)
        log_info("Problem writing data: %s\n", mpack_error_to_string(error));
    const std::size_t size = writer.bytes().size();
    return std::make_unique<MpackTree>(writer.takeBytes(), size);
}

void mpack_node_dump(mpack_node_t node)
{
    printNode(node, 0);
}

} // namespace tavo::vms_server_plugins::analytics::orlix
