#include "debugger/windows/stop_list_dialog.h"

#include <cstring>
#include <string>
#include <vector>

#include "base/os/os.h"
#include "base/os/win32_text.h"
#include "debugger/windows/debug_panes.h"

namespace {

enum : WORD { kButton = 0x0080, kEdit = 0x0081, kListBox = 0x0083 };
enum : WORD { kList = 100, kAdd = 101, kRemove = 102, kName = 103, kBrowse = 104 };
// " 関数は定義されていません。"
constexpr char kNotDefined[] = " \x8a\xd6\x90\x94\x82\xcd\x92\xe8\x8b`\x82\xb3\x82\xea\x82\xc4\x82\xa2\x82\xdc\x82\xb9\x82\xf1\x81" "B";

// A dialog template in memory: the header and its controls, in dialog units.
class DialogTemplate {
 public:
  DialogTemplate(const wchar_t* title, short width, short height) {
    DWORD style = DS_MODALFRAME | DS_CENTER | DS_SETFONT | WS_POPUP | WS_CAPTION | WS_SYSMENU;
    putLong(style);
    putLong(0);
    put(WORD(0));  // the control count, counted by Add
    put(WORD(0)), put(WORD(0)), put(WORD(width)), put(WORD(height));
    put(WORD(0)), put(WORD(0));  // no menu, the dialog class
    putText(title);
    put(WORD(9));
    putText(L"MS UI Gothic");
  }
  void Add(WORD kind, WORD id, const wchar_t* text, DWORD style, short x, short y, short width, short height) {
    while (words_.size() % 2) words_.push_back(0);  // DWORD alignment
    putLong(style | WS_CHILD | WS_VISIBLE);
    putLong(0);
    put(WORD(x)), put(WORD(y)), put(WORD(width)), put(WORD(height));
    put(id);
    put(WORD(0xFFFF)), put(kind);
    putText(text);
    put(WORD(0));
    ++words_[kCountWord];
  }
  const DLGTEMPLATE* Get() const { return reinterpret_cast<const DLGTEMPLATE*>(words_.data()); }

 private:
  void put(WORD word) { words_.push_back(word); }
  void putLong(DWORD value) { put(LOWORD(value)), put(HIWORD(value)); }
  void putText(const wchar_t* text) {
    for (; *text; ++text) put(WORD(*text));
    put(WORD(0));
  }
  static constexpr size_t kCountWord = 4;  // behind the style and the extended style
  std::vector<WORD> words_;
};

std::wstring itemText(HWND list, LRESULT index) {
  std::wstring text(size_t(SendMessageW(list, LB_GETTEXTLEN, WPARAM(index), 0)) + 1, L'\0');
  SendMessageW(list, LB_GETTEXT, WPARAM(index), reinterpret_cast<LPARAM>(text.data()));
  text.resize(text.size() - 1);
  return text;
}

std::string shiftJis(const std::wstring& text) {
  std::string out(text.size() * 2 + 1, '\0');
  int bytes = WideCharToMultiByte(os::kShiftJis, 0, text.c_str(), int(text.size()), out.data(), int(out.size()), nullptr, nullptr);
  out.resize(size_t(bytes > 0 ? bytes : 0));
  return out;
}

struct NameDialog {
  CZPKDebugSession* session;
  std::string name;
};

// The list of all the module's procedures: the chosen one goes into the name.
INT_PTR CALLBACK browseProcedure(HWND dialog, UINT message, WPARAM wParam, LPARAM lParam) {
  if (message == WM_INITDIALOG) {
    SetWindowLongPtrW(dialog, DWLP_USER, lParam);
    auto* session = reinterpret_cast<CZPKDebugSession*>(lParam);
    for (uint32_t i = 0; i < session->ProcedureCount(); ++i)
      SendDlgItemMessageW(dialog, kList, LB_ADDSTRING, 0,
                          reinterpret_cast<LPARAM>(os::widen(session->ProcedureName(int32_t(i)).c_str()).c_str()));
    return TRUE;
  }
  if (message != WM_COMMAND) return FALSE;
  WORD id = LOWORD(wParam);
  if (id == IDOK || (id == kList && HIWORD(wParam) == LBN_DBLCLK)) {
    HWND list = GetDlgItem(dialog, kList);
    LRESULT chosen = SendMessageW(list, LB_GETCURSEL, 0, 0);
    if (chosen != LB_ERR) SetDlgItemTextW(GetParent(dialog), kName, itemText(list, chosen).c_str());
    EndDialog(dialog, IDOK);
  } else if (id == IDCANCEL) {
    EndDialog(dialog, IDCANCEL);
  }
  return TRUE;
}

INT_PTR CALLBACK procedureName(HWND dialog, UINT message, WPARAM wParam, LPARAM lParam) {
  if (message == WM_INITDIALOG) {
    SetWindowLongPtrW(dialog, DWLP_USER, lParam);
    return TRUE;
  }
  if (message != WM_COMMAND) return FALSE;
  auto* state = reinterpret_cast<NameDialog*>(GetWindowLongPtrW(dialog, DWLP_USER));
  switch (LOWORD(wParam)) {
    case kBrowse: {
      DialogTemplate browse(L"参照", 160, 150);
      browse.Add(kListBox, kList, L"", WS_BORDER | WS_VSCROLL | LBS_NOTIFY | LBS_SORT, 7, 7, 146, 110);
      browse.Add(kButton, IDOK, L"OK", BS_DEFPUSHBUTTON | WS_TABSTOP, 36, 124, 50, 14);
      browse.Add(kButton, IDCANCEL, L"キャンセル", WS_TABSTOP, 92, 124, 50, 14);
      DialogBoxIndirectParamW(GetModuleHandleW(nullptr), browse.Get(), dialog, &browseProcedure,
                              reinterpret_cast<LPARAM>(state->session));
      return TRUE;
    }
    case IDOK:
      state->name = windowText(GetDlgItem(dialog, kName));
      EndDialog(dialog, IDOK);
      return TRUE;
    case IDCANCEL: EndDialog(dialog, IDCANCEL); return TRUE;
    default: return FALSE;
  }
}

void addName(HWND dialog, CZPKDebugSession& session) {
  DialogTemplate names(L"関数名入力", 200, 62);
  names.Add(kEdit, kName, L"", WS_BORDER | WS_TABSTOP | ES_AUTOHSCROLL, 7, 7, 130, 14);
  names.Add(kButton, kBrowse, L"参照", WS_TABSTOP, 143, 7, 50, 14);
  names.Add(kButton, IDOK, L"OK", BS_DEFPUSHBUTTON | WS_TABSTOP, 87, 41, 50, 14);
  names.Add(kButton, IDCANCEL, L"キャンセル", WS_TABSTOP, 143, 41, 50, 14);
  NameDialog state{&session, {}};
  if (DialogBoxIndirectParamW(GetModuleHandleW(nullptr), names.Get(), dialog, &procedureName,
                              reinterpret_cast<LPARAM>(&state)) != IDOK)
    return;
  if (session.AddStop(state.name.c_str()) == CZPKDebugSession::AddResult::NotDefined) {
    os::messageBox((state.name + kNotDefined).c_str(), "", MB_ICONEXCLAMATION);
    return;
  }
  // The list box shows a name given twice twice; the stop list holds it once.
  SendDlgItemMessageW(dialog, kList, LB_ADDSTRING, 0, reinterpret_cast<LPARAM>(os::widen(state.name.c_str()).c_str()));
}

INT_PTR CALLBACK stopList(HWND dialog, UINT message, WPARAM wParam, LPARAM lParam) {
  if (message == WM_INITDIALOG) {
    SetWindowLongPtrW(dialog, DWLP_USER, lParam);
    auto* session = reinterpret_cast<CZPKDebugSession*>(lParam);
    for (uint32_t i = 0; i < session->ProcedureCount(); ++i)
      if (session->StopsAt(int32_t(i)))
        SendDlgItemMessageW(dialog, kList, LB_ADDSTRING, 0,
                            reinterpret_cast<LPARAM>(os::widen(session->ProcedureName(int32_t(i)).c_str()).c_str()));
    return TRUE;
  }
  if (message != WM_COMMAND) return FALSE;
  auto* session = reinterpret_cast<CZPKDebugSession*>(GetWindowLongPtrW(dialog, DWLP_USER));
  HWND list = GetDlgItem(dialog, kList);
  switch (LOWORD(wParam)) {
    case kAdd: addName(dialog, *session); return TRUE;
    case kRemove: {
      LRESULT chosen = SendMessageW(list, LB_GETCURSEL, 0, 0);
      if (chosen == LB_ERR) return TRUE;
      session->RemoveStop(shiftJis(itemText(list, chosen)).c_str());
      SendMessageW(list, LB_DELETESTRING, WPARAM(chosen), 0);
      return TRUE;
    }
    case IDOK:
    case IDCANCEL: EndDialog(dialog, IDOK); return TRUE;
    default: return FALSE;
  }
}

}  // namespace

void runStopListDialog(HWND owner, CZPKDebugSession& session) {
  DialogTemplate stops(L"ﾌﾞﾚｲｸﾎﾟｲﾝﾄ設定", 200, 130);
  stops.Add(kListBox, kList, L"", WS_BORDER | WS_VSCROLL | LBS_NOTIFY, 7, 7, 130, 116);
  stops.Add(kButton, kAdd, L"追加(&A)", WS_TABSTOP, 143, 7, 50, 14);
  stops.Add(kButton, kRemove, L"削除(&R)", WS_TABSTOP, 143, 25, 50, 14);
  stops.Add(kButton, IDOK, L"閉じる", BS_DEFPUSHBUTTON | WS_TABSTOP, 143, 109, 50, 14);
  DialogBoxIndirectParamW(GetModuleHandleW(nullptr), stops.Get(), owner, &stopList, reinterpret_cast<LPARAM>(&session));
}
