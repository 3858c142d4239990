#pragma once

#include "Core/CString.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <iterator>
#include <string>

/// A fresh folder that goes with the object.
class CTempFolder {
public:
    CTempFolder() {
        std::string name = std::filesystem::temp_directory_path() / "lum-test-XXXXXX";
        folder = mkdtemp(name.data()) ? name : std::string();
        EXPECT_FALSE(folder.empty());
    }
    ~CTempFolder() {
        std::error_code ignored;
        std::filesystem::remove_all(folder, ignored);
    }
    CTempFolder(const CTempFolder&) = delete;
    CTempFolder& operator=(const CTempFolder&) = delete;

    std::string path(const std::string& name = {}) const { return folder + "/" + name; }
    lum::CString operator/(const std::string& name) const {
        return lum::CString::fromUtf8(path(name));
    }
    void put(const std::string& name, const std::string& bytes) const {
        std::ofstream(path(name), std::ios::binary) << bytes;
    }
    std::string get(const std::string& name) const {
        std::ifstream file(path(name), std::ios::binary);
        return {std::istreambuf_iterator<char>(file), {}};
    }
    size_t entryCount() const {
        const auto all = std::filesystem::recursive_directory_iterator(folder);
        return static_cast<size_t>(std::distance(begin(all), end(all)));
    }

private:
    std::string folder;
};
