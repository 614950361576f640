// A fresh directory per test, removed afterwards.
#pragma once

#include <atomic>
#include <filesystem>
#include <fstream>
#include <string>

class TempDir {
 public:
  TempDir() {
    static std::atomic<int> serial{0};
    path_ = std::filesystem::temp_directory_path() /
            ("runa1-test-" + std::to_string(processId()) + "-" + std::to_string(serial++));
    std::filesystem::remove_all(path_);
    std::filesystem::create_directories(path_);
  }
  ~TempDir() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
  }
  TempDir(const TempDir&) = delete;
  TempDir& operator=(const TempDir&) = delete;

  std::string file(const std::string& name) const { return (path_ / name).string(); }

  std::string write(const std::string& name, const std::string& bytes) const {
    std::ofstream(path_ / name, std::ios::binary) << bytes;
    return file(name);
  }

  std::string read(const std::string& name) const {
    std::ifstream in(path_ / name, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), {});
  }

  const std::filesystem::path& path() const { return path_; }

 private:
  static long processId();
  std::filesystem::path path_;
};

#ifdef _WIN32
#include <process.h>
inline long TempDir::processId() { return _getpid(); }
#else
#include <unistd.h>
inline long TempDir::processId() { return getpid(); }
#endif
