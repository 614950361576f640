// CTextViewer: a source file in the debug frame, opened at a stop and brought to the line that
// defines the procedure.
#pragma once

#include <string>
#include <vector>

#include "base/os/os.h"
#include "debugger/windows/debug_panes.h"

class CTextViewer : public DebugPane {
 public:
  CTextViewer(CZPKDebugSession& session, const std::string& path);

  // Reads the file, one line each; false when it can't be opened.
  bool Load();
  const std::string& Path() const { return path_; }
  // Brings the first line that defines `procedure` to the middle; 1 when none does, and the
  // view stays.
  int FindProcedure(const std::string& procedure);

 protected:
  void Paint(HDC dc, const RECT& client) override;
  int32_t Rows() override;
  int32_t Columns() override;

 private:
  std::string path_;
  std::wstring title_;
  os::CriticalSection lock_;  // the lines, which a load may change while a paint reads them
  std::vector<std::string> lines_;
  int32_t longest_ = 0;
};
