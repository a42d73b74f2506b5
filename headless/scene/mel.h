// SPDX-License-Identifier: Apache-2.0
// The command language as far as the module uses it: `setAttr NODE.COMPOUND[I].CHILD[J] VALUE;` on the float
// arrays of scene/attributes.h. Everything else fails and changes nothing.
//
// NODE is made of letters, digits, `_`, `:` and a leading `|`; I and J are decimal numbers without a sign;
// VALUE is digits with an optional sign, point and fraction, read the same in every locale and rounded to
// float once. Blanks as usual; the semicolon must be there.
//
// Threads: all functions may be called from any thread; they do not count as API calls.
#pragma once

#include "../headless_api.h"
#include <cstddef>
#include <string>
#include <vector>

namespace headless {

struct Command {
    std::string text;
    bool displayEnabled;
    bool undoEnabled;
    bool succeeded;
};

/// Runs the command. With `undoable` a command that succeeded goes onto the undo list.
HEADLESS_API bool runMel(const std::string& text, bool undoable);

/// Undoes the last undoable command: the element has the value it had before, or is gone if the command made
/// it. False when the list is empty. A node that was deleted since is passed over.
HEADLESS_API bool undo();

/// Number of commands that can be undone.
HEADLESS_API std::size_t undoCount();

/// What MGlobal::executeCommand was told since the last take or clear, oldest first, failures included.
HEADLESS_API std::vector<Command> commands();

/// The same, and forgets them.
HEADLESS_API std::vector<Command> takeCommands();

HEADLESS_API void clearCommands();

} // namespace headless
