// A menu bar as a model: menus of items, each with its caption ("&" marks
// the letter of its mnemonic), its shortcut ("Ctrl+Q") and its role. The
// framework gives the standard roles their behaviour (Quit ends the run,
// the edit roles act on the text that has the focus); an item of no role
// runs its Action. The backend makes the shortcuts work on the window the
// bar belongs to, whether or not the bar is shown.
#pragma once

#include <functional>
#include <string>
#include <vector>

namespace fw {

enum class MenuRole { None, Quit, Undo, Cut, Copy, Paste, Clear, SelectAll };

struct MenuItem {
  std::string name, caption, shortcut;  // an empty caption is a separator
  MenuRole role = MenuRole::None;
  std::function<void()> Action;
};

struct Menu {
  std::string name, caption;
  std::vector<MenuItem> items;
};

struct MenuBar {
  std::vector<Menu> menus;
  // The item of that name in any menu, or null.
  const MenuItem* Find(const std::string& name) const {
    for (const Menu& m : menus)
      for (const MenuItem& i : m.items)
        if (i.name == name) return &i;
    return nullptr;
  }
};

}  // namespace fw
