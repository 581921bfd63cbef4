#pragma once
// A temporary folder for one test, removed with everything in it when the test ends.
#include <filesystem>
#include <fstream>
#include <random>
#include <string>

class TempFolder {
public:
    TempFolder() {
        std::random_device device;
        path_ = std::filesystem::temp_directory_path() /
                ("kurvalux-test-" + std::to_string(device()) + std::to_string(device()));
        std::filesystem::create_directories(path_);
    }
    ~TempFolder() {
        std::error_code ec;
        std::filesystem::remove_all(path_, ec);
    }
    std::string Path() const { return path_.string() + "/"; }
    std::string Write(const std::string& name, const std::string& text) const {
        const std::filesystem::path file = path_ / name;
        std::filesystem::create_directories(file.parent_path());
        std::ofstream(file, std::ios::binary) << text;
        return file.string();
    }
    std::string Read(const std::string& name) const {
        std::ifstream in(path_ / name, std::ios::binary);
        return std::string(std::istreambuf_iterator<char>(in), {});
    }

private:
    std::filesystem::path path_;
};
