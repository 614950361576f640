// CZPKModule: one loaded game module. It reads a module file, places code and data in an
// executable image, binds the import slots, applies the relocations, indexes procedures,
// variables and resources, and runs the initialiser; Delete runs the finaliser and frees it all.
// Every operation leaves a text for GetLastErrorMessage (Shift-JIS); none touches the error
// record of the library.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "files/file_obj.h"
#include "host/module/module_platform.h"
#include "host/module/zpe_format.h"

// The directory of a full path (Shift-JIS), its last separator included: a module's base directory.
std::string directoryOf(const std::string& path);

class CZPKModule {
 public:
  // Load statuses.
  enum : int32_t {
    kLoaded = 0,
    kCannotOpen = 1,
    kInvalidFile = 2,
    kLibraryFailed = 3,
    kImportMissing = 4,
    kRefused = -1,  // already loaded, or out of memory
  };

  explicit CZPKModule(ModulePlatform& platform = systemModulePlatform());
  ~CZPKModule();
  CZPKModule(const CZPKModule&) = delete;
  CZPKModule& operator=(const CZPKModule&) = delete;

  int32_t Load(const char* path);
  // Loads from a file object already open (the object is owned from here on); `fullPath` is
  // the path that embedded resources are read from again.
  int32_t LoadFile(KFileObj* file, const char* fullPath);
  void Delete();

  void* GetProcedureAddress(const char* name);
  void* GetVariableAddress(const char* name);
  uint32_t GetResourceID(const char* name);
  uint32_t GetResourceLength(int32_t id);
  KRawFile* OpenResource(int32_t id);
  void* GetStartingProc();

  const char* GetLastErrorMessage() const { return lastMessage_; }
  const char* GetBaseDirectory() const { return baseDirectory_.c_str(); }
  void SetBaseDirectory(const char* directory) { baseDirectory_ = directory; }
  const char* GetPath() const { return path_.c_str(); }
  bool IsLoaded() const { return loaded_; }
  uint8_t* GetImageBase() const { return imageBase_; }
  uint32_t GetImportTableSize() const { return importTableBytes_; }
  const zpe::ModuleHeader& GetHeader() const { return header_; }

 private:
  using Block = std::unique_ptr<uint8_t[]>;

  bool RefuseIfLoaded();
  bool RefuseIfEmpty();
  // Leaves `subject` + `message` as the last message and gives `status`.
  int32_t Fail(int32_t status, const char* message, const char* subject = nullptr);
  int32_t Place();
  int32_t PlaceImage();
  int32_t BindImports();
  int32_t ReadIndexes();
  int32_t ReadNameTable(uint32_t type, Block* nameBlock, std::vector<const char*>* names,
                        std::vector<uint32_t>* offsets);
  int32_t ReadSection(uint32_t type, Block* block, size_t* size);
  uint32_t ReadAt(uint32_t offset, void* buffer, uint32_t bytes);
  const zpe::SectionEntry* Section(uint32_t type) { return zpe::findSection(sections_, type); }
  void* Lookup(const std::vector<const char*>& names, const std::vector<uint32_t>& offsets, const char* name,
               const char* notFound);
  bool ResourceRowOf(int32_t id, zpe::ResourceRow* row);
  void CallIfSet(uint32_t offset);

  ModulePlatform& platform_;
  KFileObj* file_ = nullptr;  // open during a load only
  std::string path_;
  std::string baseDirectory_;
  zpe::ModuleHeader header_{};
  std::vector<zpe::SectionEntry> sections_;  // during a load only

  void* imageBlock_ = nullptr;
  uint8_t* imageBase_ = nullptr;
  uint32_t importTableBytes_ = 0;
  uint32_t codeLength_ = 0;
  uint32_t dataLength_ = 0;

  std::vector<std::string> libraryNames_;
  void* hostHandle_ = nullptr;
  std::vector<void*> libraries_;

  Block resourceNameBlock_;
  std::vector<const char*> resourceNames_;
  std::vector<uint32_t> resourceIds_;
  Block resourceTableBlock_;
  size_t resourceTableSize_ = 0;
  std::vector<std::string> resourceFileNames_;
  zpe::SectionEntry resourceData_{};

  Block procedureNameBlock_;
  std::vector<const char*> procedureNames_;
  std::vector<uint32_t> procedureOffsets_;
  Block variableNameBlock_;
  std::vector<const char*> variableNames_;
  std::vector<uint32_t> variableOffsets_;

  bool loaded_ = false;
  const char* lastMessage_;
  std::string errorText_;
};
