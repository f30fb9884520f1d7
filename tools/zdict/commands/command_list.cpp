#include "commands/command_list.h"

#include "commands/commands.h"

const std::vector<CommandRow>& AllCommands()
{
    static const std::vector<CommandRow> kRows = {
        {"check", "print whether files are sound, or where they are damaged",
         "Checks images of any version, and texts, and prints a line or more for\n"
         "each: that it is fine, or where it is damaged.\n",
         MakeCheck},
        {"compile", "make an image of texts",
         "Makes an image of version 2.7 of texts, one key=text a line. If several texts\n"
         "have a key, the last one counts. A bad line is reported by file and number, and\n"
         "nothing is written then. Identifiers count the keys in the order of their first\n"
         "lines.\n",
         MakeCompile},
        {"completion", "print the completion of command lines for a shell",
         "Prints a script for bash, which completes commands, options and names of files:\n"
         "source <(zdict completion bash).\n",
         MakeCompletion},
        {"dump", "make a text of an image",
         "Writes an image of any version, or a text, as a text: a line for each key, in\n"
         "the order of their bytes. Characters that a reader would change are written as\n"
         "notations, so that compile makes the same texts of it. Content that a text\n"
         "can't carry is refused.\n",
         MakeDump},
        {"export", "make a file for translators' tools",
         "Writes English texts and their translation as PO, as a template of PO, or as\n"
         "XLIFF 1.2 or 2.0. A key is the context of its text. Without FILE, nothing is\n"
         "translated yet.\n",
         MakeExport},
        {"extract", "collect the texts of source code",
         "Collects the literals of C, C++ and Objective-C sources that begin with $$$/,\n"
         "and writes them as a text, in the order of their keys. Folders are walked. Two\n"
         "English texts of one key are an error.\n",
         MakeExtract},
        {"get", "print the texts of keys",
         "Prints the text that a look-up of each KEY finds, as it is stored, in UTF-8. KEY\n"
         "may be a literal of the source code, as $$$/a/b=text.\n",
         MakeGet},
        {"import", "make a text of a file of translators' tools",
         "Writes the translations of PO, XLIFF 1.2 or XLIFF 2.0 as a text. What a\n"
         "translator marked as fuzzy, and what is obsolete, is left out.\n",
         MakeImport},
        {"keys", "list the keys of files",
         "Lists the keys of images of any version, and of texts, each once, in the order\n"
         "of their bytes.\n",
         MakeKeys},
        {"lint", "find mistakes in translators' texts",
         "Checks texts, and compares them with the English ones if --english names them.\n"
         "Prints a line for each finding, as file:line:column: severity: message [check].\n"
         "A flag no-CHECK in the note of a text switches the check off for the text, as in\n"
         "{{*COMMENT*}}#, no-untranslated. Status 1 for an error; for a warning if strict.\n",
         MakeLint},
        {"merge", "make one image of images and texts",
         "Loads images of any version, and texts, in order, and makes one image of\n"
         "version 2.7 of them, with the identifiers that a program has after these loads.\n"
         "If several files have a key, the text of the last one counts, and the last\n"
         "comment that there is. The last locale counts too.\n",
         MakeMerge},
        {"pseudo", "make texts of a pseudo-locale",
         "Writes the English texts with accents, a third longer and in brackets, so that\n"
         "a program shows which texts it doesn't look up, cuts or can't display. Places,\n"
         "notations, markers, notes, addresses, options of programs and tags are kept.\n",
         MakePseudo},
        {"remove", "make a file without some of its keys",
         "Writes an image of version 2.7 without the keys, with the same identifiers, or a\n"
         "text without the lines of the keys. If a key is absent, nothing is written.\n",
         MakeRemove},
        {"stats", "print figures of a file",
         "Prints the figures of an image of any version, or of a text, as a table. Sizes\n"
         "are in bytes; a slot is the position of an entry, which a removed entry keeps.\n",
         MakeStats},
        {"status", "print how much of the texts is translated",
         "Prints a row for each translation: how many of the English texts are\n"
         "translated, outdated (fuzzy, or made of an older English text), untranslated and\n"
         "missing, and how many of its keys are obsolete. A terminal also shows a bar.\n",
         MakeStatus},
        {"update", "bring a translation up to date with new English texts",
         "Writes the translation TEXT again. Texts whose English text has changed are\n"
         "marked as fuzzy, with the old English text in their notes, and texts of keys\n"
         "that English lacks are left out. All other lines stay as they are, fuzzy ones\n"
         "too. Changes are reported.\n",
         MakeUpdate},
    };
    return kRows;
}
