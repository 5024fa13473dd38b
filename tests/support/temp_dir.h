// A scratch folder for one test, removed with everything in it when the test ends.
#pragma once

#include <filesystem>
#include <fstream>
#include <random>
#include <string>

struct TempDir {
    std::filesystem::path path;
    TempDir() {
        std::random_device rd;
        path = std::filesystem::temp_directory_path() / ("kvp-test-" + std::to_string(rd()) + std::to_string(rd()));
        std::filesystem::create_directories(path);
    }
    ~TempDir() {
        std::error_code ec;
        std::filesystem::remove_all(path, ec);
    }
    std::string file(const std::string& name) const { return (path / name).string(); }
    std::string write(const std::string& name, const std::string& text) const {
        std::ofstream(path / name, std::ios::binary) << text;
        return file(name);
    }
    std::string read(const std::string& name) const {
        std::ifstream in(path / name, std::ios::binary);
        return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
    }
};
