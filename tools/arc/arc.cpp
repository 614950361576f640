#include "tools/arc/arc.h"

#include <algorithm>
#include <fstream>
#include <vector>

#include "base/error.h"
#include "files/koral_archive.h"

namespace fs = std::filesystem;

namespace arc {

namespace {

// The first of the four free words of an entry holds the file attributes of Windows: the
// tool marks directories by them, and probes archives of writers that leave the word 0.
constexpr uint32_t kAttributeDirectory = 0x10;
constexpr uint32_t kAttributeNormal = 0x80;
constexpr uint32_t kChunk = 64 * 1024;
// Positions in a record file are carried by a signed 32-bit seek.
constexpr uint64_t kLargestArchive = 0x7FFFFFFF;
constexpr int kDeepestNesting = 256;

struct Node {
  std::string name;  // Shift-JIS
  fs::path path;
  bool directory = false;
  std::vector<Node> children;
};

std::string utf8Of(const fs::path& path) {
  std::u8string text = path.u8string();
  return std::string(text.begin(), text.end());
}

fs::path pathOfUtf8(const std::string& text) { return fs::path(std::u8string(text.begin(), text.end())); }

std::string lastReport() {
  const VKERRORRECORD* record = vkGetErrorRecord();
  return record->message ? record->message : "unknown failure";
}

bool fail(std::string* error, const std::string& text) {
  *error = text;
  return false;
}

// ---- create ----------------------------------------------------------------------------------

bool scan(const fs::path& directory, std::vector<Node>* nodes, uint64_t* total, int depth, std::string* error) {
  if (depth > kDeepestNesting) return fail(error, utf8Of(directory) + ": directories nested too deep");
  std::error_code failure;
  fs::directory_iterator it(directory, failure);
  for (; !failure && it != fs::directory_iterator(); it.increment(failure)) {
    const fs::path& path = it->path();
    Node node;
    node.path = path;
    std::string utf8Name = utf8Of(path.filename());
    if (!os::utf8ToShiftJis(utf8Name, &node.name))
      return fail(error, utf8Of(path) + ": the name cannot be written in Shift-JIS");
    if (node.name.find('\\') != std::string::npos)
      return fail(error, utf8Of(path) + ": names in an archive cannot hold a backslash");
    std::error_code statFailure;
    fs::file_status status = fs::status(path, statFailure);
    if (fs::is_directory(status)) {
      node.directory = true;
      if (!scan(path, &node.children, total, depth + 1, error)) return false;
    } else if (fs::is_regular_file(status)) {
      uint64_t size = fs::file_size(path, statFailure);
      if (statFailure) return fail(error, utf8Of(path) + ": cannot read: " + statFailure.message());
      *total += size;
      if (*total > kLargestArchive) return fail(error, utf8Of(path) + ": the archive would exceed 2 GiB");
    } else {
      return fail(error, utf8Of(path) + ": neither a file nor a directory");
    }
    *total += 16 + 40 + node.name.size() + 1;
    nodes->push_back(std::move(node));
  }
  if (failure) return fail(error, utf8Of(directory) + ": cannot read the directory: " + failure.message());
  std::sort(nodes->begin(), nodes->end(), [](const Node& a, const Node& b) { return a.name < b.name; });
  // Names are found without regard to ASCII case: two such names would hide each other.
  for (size_t i = 0; i < nodes->size(); ++i)
    for (size_t j = i + 1; j < nodes->size(); ++j)
      if (KORALNamesMatch((*nodes)[i].name.c_str(), (*nodes)[j].name.c_str()))
        return fail(error, utf8Of((*nodes)[i].path) + " and " + utf8Of((*nodes)[j].path.filename()) +
                               ": names that differ only in case cannot share a directory");
  return true;
}

void describe(const std::vector<Node>& nodes, KORALDirectory* directory) {
  for (const Node& node : nodes) {
    KORALDirEntry* entry = KORALDirEntry::Make(node.name.c_str(), nullptr, 0);
    entry->words[0] = node.directory ? kAttributeDirectory : kAttributeNormal;
    directory->Add(entry);
  }
}

bool copyIn(KORALArchive& archive, const fs::path& path, std::string* error) {
  std::ifstream in(path, std::ios::binary);
  if (!in) return fail(error, utf8Of(path) + ": cannot read");
  std::vector<char> buffer(kChunk);
  while (in) {
    in.read(buffer.data(), kChunk);
    uint32_t count = static_cast<uint32_t>(in.gcount());
    if (archive.Write(buffer.data(), count) != count) return fail(error, utf8Of(path) + ": writing the archive failed");
  }
  if (in.bad()) return fail(error, utf8Of(path) + ": cannot read");
  return true;
}

bool writeTree(KORALArchive& archive, const std::vector<Node>& nodes, std::string* error) {
  for (const Node& node : nodes) {
    if (node.directory) {
      KORALDirectory directory;
      describe(node.children, &directory);
      if (archive.DescendDirectory(node.name.c_str(), &directory) != 0)
        return fail(error, utf8Of(node.path) + ": " + lastReport());
      if (!writeTree(archive, node.children, error)) return false;
      if (archive.AscendDirectory() != 0) return fail(error, utf8Of(node.path) + ": " + lastReport());
    } else {
      if (archive.DescendFile(node.name.c_str()) != 0) return fail(error, utf8Of(node.path) + ": " + lastReport());
      if (!copyIn(archive, node.path, error)) return false;
      if (archive.AscendFile() != 0) return fail(error, utf8Of(node.path) + ": " + lastReport());
    }
  }
  return true;
}

// ---- list and extract ------------------------------------------------------------------------

class Reader {
 public:
  bool Open(const std::string& path, std::string* error) {
    if (raw_.Open(path.c_str(), FILE_READ) != 0) return fail(error, path + ": cannot open");
    if (archive_.Open(&raw_, nullptr) != 0) return fail(error, path + ": not an archive: " + lastReport());
    return true;
  }

  KORALArchive& archive() { return archive_; }

  // An entry is a directory by its attributes, or, when its writer left them 0, when its
  // record opens as one.
  bool IsDirectory(const KORALDirEntry& entry) {
    if (entry.words[0] != 0) return (entry.words[0] & kAttributeDirectory) != 0;
    if (archive_.DescendDirectory(entry.name, nullptr) != 0) return false;
    archive_.AscendDirectory();
    return true;
  }

 private:
  KRawFile raw_;
  KORALArchive archive_;
};

// Calls visit(entry, isDirectory, depth) for each entry, depth first, with the archive in the
// entry's directory; returns false with *error set when the archive cannot be walked.
template <typename Visit>
bool walk(Reader& reader, int depth, std::string* error, Visit&& visit) {
  if (depth > kDeepestNesting) return fail(error, "directories nested too deep");
  KORALArchive& archive = reader.archive();
  // The directory object stays the same while its subdirectories are visited.
  const KORALDirectory* directory = archive.GetDirectory();
  for (uint32_t i = 0; i < directory->GetCount(); ++i) {
    const KORALDirEntry& entry = *directory->GetAt(i);
    std::string name = os::shiftJisToUtf8(entry.name);
    bool isDirectory = reader.IsDirectory(entry);
    if (!visit(entry, isDirectory, depth)) return false;
    if (!isDirectory) continue;
    if (archive.DescendDirectory(entry.name, nullptr) != 0) return fail(error, name + ": " + lastReport());
    if (!walk(reader, depth + 1, error, visit)) return false;
    archive.AscendDirectory();
  }
  return true;
}

// A member's whole content; false when the archive holds less than the member claims.
bool readMember(KORALArchive& archive, const KORALDirEntry& entry, std::vector<char>* content, std::string* error) {
  std::string name = os::shiftJisToUtf8(entry.name);
  if (archive.DescendFile(entry.name) != 0) return fail(error, name + ": " + lastReport());
  content->resize(archive.GetLength());
  uint32_t done = archive.Read(content->data(), static_cast<uint32_t>(content->size()));
  archive.AscendFile();
  if (done != content->size()) return fail(error, name + ": the member is cut short");
  return true;
}

bool isSafeName(const std::string& name) {
  if (name.empty() || name == "." || name == "..") return false;
  return name.find_first_of("/\\:") == std::string::npos;
}

}  // namespace

bool createArchive(const fs::path& source, const std::string& archivePath, std::string* error) {
  std::error_code failure;
  if (!fs::is_directory(source, failure)) return fail(error, utf8Of(source) + ": not a directory");
  std::vector<Node> nodes;
  uint64_t total = 0;
  if (!scan(source, &nodes, &total, 0, error)) return false;

  KRawFile raw;
  if (raw.Open(archivePath.c_str(), FILE_WRITE) != 0) return fail(error, archivePath + ": cannot create");
  KORALDirectory root;
  describe(nodes, &root);
  KORALArchive archive;
  bool written = archive.Open(&raw, &root) == 0 ? writeTree(archive, nodes, error)
                                                 : fail(error, archivePath + ": " + lastReport());
  archive.Close();
  raw.Close();
  if (!written) fs::remove(archivePath, failure);
  return written;
}

bool listArchive(const std::string& archivePath, std::ostream& out, std::string* error) {
  Reader reader;
  if (!reader.Open(archivePath, error)) return false;
  return walk(reader, 0, error, [&](const KORALDirEntry& entry, bool isDirectory, int depth) {
    out << std::string(2 * depth, ' ') << os::shiftJisToUtf8(entry.name);
    if (isDirectory) {
      out << "/\n";
      return true;
    }
    KORALArchive& archive = reader.archive();
    if (archive.DescendFile(entry.name) != 0) return fail(error, os::shiftJisToUtf8(entry.name) + ": " + lastReport());
    out << "  " << archive.GetLength() << "\n";
    archive.AscendFile();
    return true;
  });
}

bool extractArchive(const std::string& archivePath, const fs::path& target, std::string* error) {
  Reader reader;
  if (!reader.Open(archivePath, error)) return false;
  std::error_code failure;
  fs::create_directories(target, failure);
  if (failure) return fail(error, utf8Of(target) + ": cannot create: " + failure.message());
  std::vector<fs::path> here{target};  // the output directory of each depth
  std::vector<char> content;
  return walk(reader, 0, error, [&](const KORALDirEntry& entry, bool isDirectory, int depth) {
    std::string name = os::shiftJisToUtf8(entry.name);
    if (!isSafeName(name)) return fail(error, "\"" + name + "\": not a name that can be extracted");
    here.resize(depth + 1);
    fs::path path = here[depth] / pathOfUtf8(name);
    if (isDirectory) {
      fs::create_directories(path, failure);
      if (failure) return fail(error, utf8Of(path) + ": cannot create: " + failure.message());
      here.push_back(path);
      return true;
    }
    if (!readMember(reader.archive(), entry, &content, error)) return false;
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    out.write(content.data(), static_cast<std::streamsize>(content.size()));
    out.close();
    if (!out) return fail(error, utf8Of(path) + ": cannot write");
    return true;
  });
}

}  // namespace arc
