// The portable half of the dialog seam: choosing the answer of a box nobody sees.
#include <cstdlib>
#include <cstring>

#include "base/os/os.h"

namespace os {

namespace {

struct ButtonName {
  const char* name;
  int id;
};

constexpr ButtonName kButtonNames[] = {{"ok", IDOK},         {"cancel", IDCANCEL}, {"abort", IDABORT},
                                       {"retry", IDRETRY},   {"ignore", IDIGNORE}, {"yes", IDYES},
                                       {"no", IDNO},         {"tryagain", IDTRYAGAIN},
                                       {"continue", IDCONTINUE}};

// The buttons of each box type, in the order the default-button flags count them.
struct BoxButtons {
  int ids[3];
  int count;
};

BoxButtons buttonsOf(uint32_t flags) {
  switch (flags & MB_TYPEMASK) {
    case MB_OKCANCEL: return {{IDOK, IDCANCEL}, 2};
    case MB_ABORTRETRYIGNORE: return {{IDABORT, IDRETRY, IDIGNORE}, 3};
    case MB_YESNOCANCEL: return {{IDYES, IDNO, IDCANCEL}, 3};
    case MB_YESNO: return {{IDYES, IDNO}, 2};
    case MB_RETRYCANCEL: return {{IDRETRY, IDCANCEL}, 2};
    case MB_CANCELTRYCONTINUE: return {{IDCANCEL, IDTRYAGAIN, IDCONTINUE}, 3};
    default: return {{IDOK}, 1};
  }
}

bool sameText(const char* a, const char* b) {
  for (; *a && *b; ++a, ++b) {
    char x = (*a >= 'A' && *a <= 'Z') ? static_cast<char>(*a + 32) : *a;
    if (x != *b) return false;
  }
  return *a == *b;
}

}  // namespace

int automaticAnswer(uint32_t flags, const char* autoAnswer) {
  BoxButtons buttons = buttonsOf(flags);
  if (autoAnswer) {
    for (const ButtonName& button : kButtonNames) {
      if (!sameText(autoAnswer, button.name)) continue;
      for (int i = 0; i < buttons.count; ++i)
        if (buttons.ids[i] == button.id) return button.id;
    }
  }
  int index = static_cast<int>((flags & MB_DEFMASK) >> 8);
  return buttons.ids[index < buttons.count ? index : 0];
}

bool answersAutomatically() {
#ifdef _WIN32
  const char* answer = std::getenv("RUNA1_AUTO_ANSWER");
  return answer && *answer;
#else
  return true;  // the native build has no box to show
#endif
}

int messageBox(const char* text, const char* caption, uint32_t flags) {
  const char* answer = std::getenv("RUNA1_AUTO_ANSWER");
  if (answer && *answer) {
    std::string line = "runa1: message box \"" + shiftJisToUtf8(caption ? caption : "") + "\": " +
                       shiftJisToUtf8(text ? text : "") + "\n";
    writeDiagnostic(line);
    return automaticAnswer(flags, answer);
  }
  return showMessageBox(text ? text : "", caption ? caption : "", flags);
}

}  // namespace os
