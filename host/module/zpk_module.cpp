#include "host/module/zpk_module.h"

#include <algorithm>
#include <cstring>
#include <new>

#include "files/string_stream.h"
#include "host/module/zpk_text.h"

namespace {

bool isSeparator(char c) { return c == '\\' || c == '/'; }

}  // namespace

// The full path cut behind its last separator, separator included. The trail byte of a
// two-byte character may be a backslash's code (ソ, 表): it separates nothing.
std::string directoryOf(const std::string& path) {
  size_t cut = 0;
  for (size_t at = 0; at < path.size(); ++at) {
    if (IsLeadByte(static_cast<uint8_t>(path[at])))
      ++at;
    else if (isSeparator(path[at]))
      cut = at + 1;
  }
  return path.substr(0, cut);
}

CZPKModule::CZPKModule(ModulePlatform& platform) : platform_(platform), lastMessage_(zpk_text::kSuccess) {}

CZPKModule::~CZPKModule() { Delete(); }

int32_t CZPKModule::Fail(int32_t status, const char* message, const char* subject) {
  errorText_ = subject ? subject : "";
  errorText_ += message;
  lastMessage_ = errorText_.c_str();
  return status;
}

bool CZPKModule::RefuseIfLoaded() {
  lastMessage_ = zpk_text::kSuccess;
  if (!loaded_) return false;
  Fail(kRefused, zpk_text::kAlreadyLoaded);
  return true;
}

int32_t CZPKModule::Load(const char* path) {
  if (RefuseIfLoaded()) return kRefused;
  KRawFile* file = new KRawFile;
  if (file->Open(path, FILE_READ | FILE_SHARE_READ) != 0) {
    delete file;
    return Fail(kCannotOpen, zpk_text::kCannotOpen, path);
  }
  if (!*file->GetPath()) {  // a full path that Shift-JIS cannot hold: the base directory would be wrong
    delete file;
    return Fail(kCannotOpen, (std::string(zpk_text::kFullPath) + zpk_text::kNotShiftJis).c_str(), path);
  }
  return LoadFile(file, file->GetPath());
}

int32_t CZPKModule::LoadFile(KFileObj* file, const char* fullPath) {
  if (RefuseIfLoaded()) {
    delete file;
    return kRefused;
  }
  std::string path = fullPath;  // may live in the file object that Delete releases
  Delete();  // what a failed load left behind
  file_ = file;
  path_ = path;
  baseDirectory_ = directoryOf(path_);
  int32_t status = Place();
  sections_.clear();
  if (status != kLoaded) return status;
  loaded_ = true;
  delete file_;
  file_ = nullptr;
  CallIfSet(header_.initializer);
  return kLoaded;
}

// Reads one section whole into a block of its own, of at least the floor size and zeroed
// behind what the file gave. A section that reaches past the end of the file is refused.
int32_t CZPKModule::ReadSection(uint32_t type, Block* block, size_t* size) {
  const zpe::SectionEntry* entry = Section(type);
  if (!entry) return Fail(kInvalidFile, zpk_text::kBadFile);
  uint64_t end = static_cast<uint64_t>(entry->offset) + entry->length;
  if (end > file_->GetLength()) return Fail(kInvalidFile, zpk_text::kBadFile);
  *size = std::max<size_t>(entry->length, zpe::kBlockFloor);
  block->reset(new (std::nothrow) uint8_t[*size]());
  if (!*block) return Fail(kRefused, zpk_text::kNoMemory);
  ReadAt(entry->offset, block->get(), entry->length);
  return kLoaded;
}

uint32_t CZPKModule::ReadAt(uint32_t offset, void* buffer, uint32_t bytes) {
  if (offset > 0x7FFFFFFF || file_->Seek(static_cast<int32_t>(offset), kSeekBegin) != offset) return 0;
  return file_->Read(buffer, bytes);
}

int32_t CZPKModule::Place() {
  uint8_t head[12];
  if (file_->Read(head, sizeof head) != sizeof head || std::memcmp(head, zpe::kSignature, sizeof zpe::kSignature) != 0 ||
      zpe::readU32(head + 8) != zpe::kFormatCode)
    return Fail(kInvalidFile, zpk_text::kBadFormat);
  file_->Seek(zpe::kDescriptionBytes, kSeekCurrent);
  uint8_t countBytes[4] = {};
  file_->Read(countBytes, sizeof countBytes);
  // Only entries that the file holds are searched: a count beyond them reads nothing more.
  uint32_t length = file_->GetLength();
  uint64_t held = length > zpe::kSectionTableOffset ? (length - zpe::kSectionTableOffset) / 16 : 0;
  uint64_t entries = std::min<uint64_t>(zpe::readU32(countBytes), held);
  Block table(new (std::nothrow) uint8_t[std::max<uint64_t>(entries * 16, zpe::kBlockFloor)]());
  if (!table) return Fail(kRefused, zpk_text::kNoMemory);
  uint32_t got = file_->Read(table.get(), static_cast<uint32_t>(entries * 16));
  for (uint32_t at = 0; at + 16 <= got; at += 16) {
    const uint8_t* row = table.get() + at;
    sections_.push_back({zpe::readU32(row), zpe::readU32(row + 4), zpe::readU32(row + 8), zpe::readU32(row + 12)});
  }
  table.reset();

  const zpe::SectionEntry* header = Section(zpe::kHeader);
  if (!header) return Fail(kInvalidFile, zpk_text::kNoHeader);
  uint8_t fields[16] = {};
  ReadAt(header->offset, fields, sizeof fields);
  header_ = {zpe::readU32(fields), zpe::readU32(fields + 4), zpe::readU32(fields + 8), zpe::readU32(fields + 12)};

  int32_t status = PlaceImage();
  if (status == kLoaded) status = BindImports();
  if (status == kLoaded) status = ReadIndexes();
  return status;
}

int32_t CZPKModule::PlaceImage() {
  const zpe::SectionEntry* code = Section(zpe::kCode);
  const zpe::SectionEntry* data = Section(zpe::kData);
  if (!code || !data) return Fail(kInvalidFile, zpk_text::kNoCode);
  uint64_t table = zpe::importTableBytes(header_.importSlots);
  uint64_t bytes = std::max<uint64_t>(table + code->length + 16 + data->length, zpe::kBlockFloor);
  if (bytes > 0xFFFFFFFF || !(imageBlock_ = platform_.allocateImage(static_cast<uint32_t>(bytes))))
    return Fail(kRefused, zpk_text::kNoMemory);
  imageBase_ = reinterpret_cast<uint8_t*>((reinterpret_cast<uintptr_t>(imageBlock_) + 15) & ~uintptr_t{15});
  importTableBytes_ = static_cast<uint32_t>(table);
  codeLength_ = code->length;
  dataLength_ = data->length;
  // A short file goes unnoticed: the image keeps whatever the file did not cover.
  ReadAt(code->offset, imageBase_ + importTableBytes_, codeLength_);
  ReadAt(data->offset, imageBase_ + importTableBytes_ + codeLength_, dataLength_);
  return kLoaded;
}

int32_t CZPKModule::BindImports() {
  Block block;
  size_t size;
  std::vector<const char*> names;
  if (int32_t status = ReadSection(zpe::kLibraryNames, &block, &size)) return status;
  if (!zpe::parseNameList(block.get(), size, &names)) return Fail(kInvalidFile, zpk_text::kBadFile);
  libraryNames_.assign(names.begin(), names.end());

  hostHandle_ = platform_.hostHandle();
  for (const std::string& name : libraryNames_) {
    void* library = platform_.loadLibrary(name.c_str());
    if (!library) return Fail(kLibraryFailed, zpk_text::kCannotLoadLibrary, name.c_str());
    libraries_.push_back(library);
  }

  std::vector<zpe::Import> imports;
  if (int32_t status = ReadSection(zpe::kImportList, &block, &size)) return status;
  if (!zpe::parseImportList(block.get(), size, header_.importSlots, &imports))
    return Fail(kInvalidFile, zpk_text::kBadFile);
  for (size_t slot = 0; slot < imports.size(); ++slot) {
    const zpe::Import& import = imports[slot];
    void* address = nullptr;
    if (import.library >= 0) {
      if (static_cast<size_t>(import.library) < libraries_.size())
        address = platform_.libraryProcedure(libraries_[import.library], import.name);
    } else {
      address = platform_.hostProcedure(import.name);
      for (size_t i = 0; !address && i < libraries_.size(); ++i)
        address = platform_.libraryProcedure(libraries_[i], import.name);
    }
    if (!address) return Fail(kImportMissing, zpk_text::kImportNotFound, import.name);
    uint32_t value = static_cast<uint32_t>(reinterpret_cast<uintptr_t>(address));
    std::memcpy(imageBase_ + 4 * slot, &value, 4);
  }

  std::vector<uint32_t> relocations;
  if (int32_t status = ReadSection(zpe::kRelocations, &block, &size)) return status;
  uint32_t base = static_cast<uint32_t>(reinterpret_cast<uintptr_t>(imageBase_));
  if (!zpe::parseOffsetList(block.get(), size, &relocations) ||
      !zpe::applyRelocations(imageBase_, size_t{importTableBytes_} + codeLength_ + dataLength_, base, relocations))
    return Fail(kInvalidFile, zpk_text::kBadFile);
  return kLoaded;
}

int32_t CZPKModule::ReadIndexes() {
  size_t size;
  if (int32_t status = ReadSection(zpe::kResourceNames, &resourceNameBlock_, &size)) return status;
  if (!zpe::parseResourceNames(resourceNameBlock_.get(), size, &resourceNames_, &resourceIds_))
    return Fail(kInvalidFile, zpk_text::kBadFile);
  if (int32_t status = ReadSection(zpe::kResourceTable, &resourceTableBlock_, &resourceTableSize_)) return status;

  Block block;
  std::vector<const char*> fileNames;
  if (int32_t status = ReadSection(zpe::kResourceFileNames, &block, &size)) return status;
  if (!zpe::parseNames(block.get(), size, static_cast<uint32_t>(resourceNames_.size()), &fileNames))
    return Fail(kInvalidFile, zpk_text::kBadFile);
  resourceFileNames_.assign(fileNames.begin(), fileNames.end());

  const zpe::SectionEntry* resourceData = Section(zpe::kResourceData);
  if (!resourceData) return Fail(kInvalidFile, zpk_text::kBadFile);
  resourceData_ = *resourceData;

  if (int32_t status = ReadNameTable(zpe::kProcedureNames, &procedureNameBlock_, &procedureNames_, &procedureOffsets_))
    return status;
  return ReadNameTable(zpe::kVariableNames, &variableNameBlock_, &variableNames_, &variableOffsets_);
}

// A sorted name section and the offset section of the next type, one offset per name.
int32_t CZPKModule::ReadNameTable(uint32_t type, Block* nameBlock, std::vector<const char*>* names,
                                  std::vector<uint32_t>* offsets) {
  size_t size;
  if (int32_t status = ReadSection(type, nameBlock, &size)) return status;
  if (!zpe::parseNameList(nameBlock->get(), size, names)) return Fail(kInvalidFile, zpk_text::kBadFile);
  Block block;
  if (int32_t status = ReadSection(type + 1, &block, &size)) return status;
  if (!zpe::parseWords(block.get(), size, static_cast<uint32_t>(names->size()), offsets))
    return Fail(kInvalidFile, zpk_text::kBadFile);
  return kLoaded;
}

void CZPKModule::CallIfSet(uint32_t offset) {
  if (offset != zpe::kNoProcedure) platform_.callProcedure(imageBase_ + offset, 0, nullptr, 0);
}

void CZPKModule::Delete() {
  lastMessage_ = zpk_text::kSuccess;
  if (loaded_) CallIfSet(header_.finalizer);
  for (void* library : libraries_) platform_.freeLibrary(library);
  libraries_.clear();
  libraryNames_.clear();
  delete file_;
  file_ = nullptr;
  platform_.freeImage(imageBlock_);
  imageBlock_ = nullptr;
  imageBase_ = nullptr;
  resourceNames_.clear();
  resourceIds_.clear();
  resourceNameBlock_.reset();
  resourceTableBlock_.reset();
  resourceTableSize_ = 0;
  resourceFileNames_.clear();
  procedureNames_.clear();
  procedureOffsets_.clear();
  procedureNameBlock_.reset();
  variableNames_.clear();
  variableOffsets_.clear();
  variableNameBlock_.reset();
  loaded_ = false;
}

bool CZPKModule::RefuseIfEmpty() {
  lastMessage_ = zpk_text::kSuccess;
  if (loaded_) return false;
  Fail(kRefused, zpk_text::kNotLoaded);
  return true;
}

void* CZPKModule::Lookup(const std::vector<const char*>& names, const std::vector<uint32_t>& offsets,
                         const char* name, const char* notFound) {
  if (RefuseIfEmpty()) return nullptr;
  int64_t index = zpe::findName(names, name);
  if (index < 0) {
    Fail(kRefused, notFound);
    return nullptr;
  }
  return imageBase_ + offsets[static_cast<size_t>(index)];
}

void* CZPKModule::GetProcedureAddress(const char* name) {
  return Lookup(procedureNames_, procedureOffsets_, name, zpk_text::kProcedureNotFound);
}

void* CZPKModule::GetVariableAddress(const char* name) {
  return Lookup(variableNames_, variableOffsets_, name, zpk_text::kVariableNotFound);
}

void* CZPKModule::GetStartingProc() {
  if (RefuseIfEmpty()) return nullptr;
  return imageBase_ + header_.startingProc;
}

uint32_t CZPKModule::GetResourceID(const char* name) {
  if (RefuseIfEmpty()) return 0xFFFFFFFF;
  int64_t index = zpe::findName(resourceNames_, name);
  if (index < 0) {
    Fail(kRefused, zpk_text::kResourceNameNotFound);
    return 0xFFFFFFFF;
  }
  return resourceIds_[static_cast<size_t>(index)];
}

// The row of a resource id. Ids index the resource table directly; one that is negative, not
// below the resource count, or past the table's block is refused.
bool CZPKModule::ResourceRowOf(int32_t id, zpe::ResourceRow* row) {
  if (RefuseIfEmpty()) return false;
  if (id < 0 || static_cast<size_t>(id) >= resourceNames_.size() ||
      (static_cast<size_t>(id) + 1) * sizeof(zpe::ResourceRow) > resourceTableSize_) {
    Fail(kRefused, zpk_text::kBadResourceId);
    return false;
  }
  const uint8_t* at = resourceTableBlock_.get() + static_cast<size_t>(id) * sizeof(zpe::ResourceRow);
  *row = {zpe::readU32(at), zpe::readU32(at + 4), {zpe::readU32(at + 8), zpe::readU32(at + 12)}};
  return true;
}

uint32_t CZPKModule::GetResourceLength(int32_t id) {
  zpe::ResourceRow row;
  return ResourceRowOf(id, &row) ? row.length : 0xFFFFFFFF;
}

KRawFile* CZPKModule::OpenResource(int32_t id) {
  zpe::ResourceRow row;
  if (!ResourceRowOf(id, &row)) return nullptr;
  KRawFile* file = new KRawFile;
  std::string path;
  uint32_t status;
  if (row.offset == zpe::kExternalResource) {
    const std::string& name = resourceFileNames_[static_cast<size_t>(id)];
    bool standsAlone = (!name.empty() && isSeparator(name[0])) || (name.size() > 1 && name[1] == ':');
    path = standsAlone ? name : baseDirectory_ + name;
    status = file->Open(path.c_str(), FILE_READ);
  } else {
    path = path_;
    status = file->Open(path.c_str(), FILE_READ | FILE_SHARE_READ);
    if (status == 0) file->Seek(static_cast<int32_t>(row.offset + resourceData_.offset), kSeekBegin);
  }
  if (status != 0) {
    delete file;
    Fail(kRefused, zpk_text::kCannotOpenResource, path.c_str());
    return nullptr;
  }
  return file;
}
