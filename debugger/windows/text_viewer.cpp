#include "debugger/windows/text_viewer.h"

#include <algorithm>
#include <memory>

#include "base/os/win32_text.h"
#include "files/file_obj.h"
#include "files/string_stream.h"

CTextViewer::CTextViewer(CZPKDebugSession& session, const std::string& path)
    : DebugPane(session, {nullptr, nullptr, 20, 0}), path_(path), title_(os::widen(path.c_str())) {
  look_.title = title_.c_str();
}

bool CTextViewer::Load() {
  KRawFile file;
  // A module built on Linux names its sources by Unix paths: under Wine, drive Z: holds them.
  if (file.Open(path_.c_str(), FILE_READ | FILE_SHARE_READ) != 0 &&
      (path_.empty() || path_[0] != '/' || file.Open(("Z:" + path_).c_str(), FILE_READ | FILE_SHARE_READ) != 0))
    return false;
  std::unique_ptr<StringStream> text(StringStream::LoadText(&file));
  if (!text) return false;
  std::vector<std::string> lines;
  int32_t longest = 0;
  while (!text->IsOverflowIndex()) {
    std::unique_ptr<StringStream> line(text->GetLine(true));
    if (!line) break;
    lines.emplace_back(line->GetBuffer(), size_t(line->GetLength()));
    longest = std::max(longest, line->GetLength());
  }
  os::Lock hold(lock_);
  lines_ = std::move(lines);
  longest_ = longest;
  return true;
}

int CTextViewer::FindProcedure(const std::string& procedure) {
  int32_t line;
  {
    os::Lock hold(lock_);
    line = findProcedureLine(lines_, procedure);
  }
  if (line < 0) return 1;
  UpdateScrollBars();
  vertical_.position = std::min(centredTop(line, ClientRows()), vertical_.Last());
  SetScrollPos(window_, SB_VERT, vertical_.position, TRUE);
  Invalidate();
  return 0;
}

int32_t CTextViewer::Rows() {
  os::Lock hold(lock_);
  return int32_t(lines_.size());
}

int32_t CTextViewer::Columns() {
  os::Lock hold(lock_);
  return longest_;
}

void CTextViewer::Paint(HDC dc, const RECT& client) {
  os::Lock hold(lock_);
  int tabStop = 32;
  int x = (2 - horizontal_.position) * 8;
  bool widened = false;
  for (int32_t line = vertical_.position; line < int32_t(lines_.size()); ++line) {
    int y = 2 + (line - vertical_.position) * 20;
    if (y >= client.bottom) break;
    std::wstring wide = os::widen(lines_[size_t(line)].c_str());
    LONG extent = TabbedTextOutW(dc, x, y, wide.c_str(), int(wide.size()), 1, &tabStop, x);
    int32_t columns = LOWORD(extent) / 8;
    if (columns > longest_) {
      longest_ = columns;
      widened = true;
    }
  }
  if (widened) PostMessageW(window_, WM_SIZE, 0, 0);  // the range follows the wider line
}
