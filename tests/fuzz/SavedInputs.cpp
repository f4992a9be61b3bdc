#include "tests/fuzz/SavedInputs.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <tuple>

namespace pelkotest {

namespace {

SavedInput readBytes(const std::filesystem::path& path) {
    std::ifstream file(path, std::ios::binary);
    if (!file) {
        throw std::runtime_error("cannot read " + path.string());
    }
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

void writeBytes(const SavedInput& bytes, const std::filesystem::path& path) {
    std::ofstream file(path, std::ios::binary | std::ios::trunc);
    file.write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
    if (!file.flush()) {
        throw std::runtime_error("cannot write " + path.string());
    }
}

}  // namespace

std::vector<SavedInput> readPacked(const std::string& file) {
    const SavedInput bytes = readBytes(file);
    std::vector<SavedInput> inputs;
    for (std::size_t i = 0; i < bytes.size();) {
        const std::size_t begin = i + 2;
        const std::size_t size = begin <= bytes.size() ? bytes[i] + 256U * bytes[i + 1] : bytes.size();
        if (size > bytes.size() - std::min(begin, bytes.size())) {
            throw std::runtime_error(file + " ends within an input");
        }
        const auto first = bytes.begin() + static_cast<std::ptrdiff_t>(begin);
        inputs.emplace_back(first, first + static_cast<std::ptrdiff_t>(size));
        i = begin + size;
    }
    return inputs;
}

void writePacked(const std::vector<SavedInput>& inputs, const std::string& file) {
    SavedInput bytes;
    for (const SavedInput& input : inputs) {
        if (input.size() > 0xffff) {
            throw std::runtime_error("an input is too long to be packed");
        }
        bytes.push_back(static_cast<std::uint8_t>(input.size() & 0xff));
        bytes.push_back(static_cast<std::uint8_t>(input.size() >> 8));
        bytes.insert(bytes.end(), input.begin(), input.end());
    }
    writeBytes(bytes, file);
}

std::vector<SavedInput> readFolder(const std::string& folder) {
    std::vector<std::filesystem::path> paths;
    for (const auto& entry : std::filesystem::directory_iterator(folder)) {
        paths.push_back(entry.path());
    }
    std::sort(paths.begin(), paths.end(), [](const auto& a, const auto& b) {
        return std::tuple(std::filesystem::file_size(a), a) < std::tuple(std::filesystem::file_size(b), b);
    });
    std::vector<SavedInput> inputs;
    inputs.reserve(paths.size());
    for (const auto& path : paths) {
        inputs.push_back(readBytes(path));
    }
    return inputs;
}

void writeFolder(const std::vector<SavedInput>& inputs, const std::string& folder) {
    std::filesystem::create_directories(folder);
    for (std::size_t i = 0; i < inputs.size(); ++i) {
        writeBytes(inputs[i], std::filesystem::path(folder) / nameOf(i));
    }
}

std::string nameOf(std::size_t number) {
    const std::string digits = std::to_string(number);
    return "input-" + std::string(5 - std::min<std::size_t>(5, digits.size()), '0') + digits;
}

}  // namespace pelkotest
