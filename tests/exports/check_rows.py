#!/usr/bin/env python3
"""Checks that each function that libU.so exports has a row, or a reason to have none.

Usage: check_rows.py

A function has a row if the files in tests/operations name it. Overloads count as one function. A
reason is a regular expression for whole names. The name of a function that returns a string ends in
"[abi:cxx11]", so the reason for functions that read a word does not match it.
"""

import pathlib
import re
import sys

TESTS = pathlib.Path(__file__).parent.parent

REASONS = {
    "special members without an allocation, or which an object of a row calls":
        r".*::(~\w+|operator.*)|(\w+::)*(\w+)::\3|boost::enable_shared_from_this<.*",
    "a variable": r".*::(S_\w+|sNull|tInnermost)|U_G_CPU_DataP|U_rcNULL|Up_\w+P0",
    "a private part of another function":
        r"U_SuspendContext::(?!New).*|U_Any::(ConvertedToInt|InferredType|WriteJSON)"
        r"|U_AnyTreeWrapper::(Append(Tree)?|EraseNamesakesOfLast|FindChild|PutValue)"
        r"|U_Context::(CallStates|Deactivate|GetState)",
    "counts references": r"U_(RCObject|RCPtrBase|ReferenceCount)::.*",
    "the walks over a life call it": r"U_(Birth|Death|ZLocale(Birth|Death))",
    "reads, compares or changes memory of the caller":
        r"U_(F?p?(L?Long|Short)Swap|\w*ToPointer|PointerTo\w+|HexChar2Nibble|CharByte\w*|IsZstr)"
        r"|U_(CharNextByte|ConcatString|Copy(String(Len)?|[CP]to[CP]String)|Pstrcpy)"
        r"|U_(TruncateString\w*|CleanTo7BitOnly|MakeDBCSSafeStr|str\w+)|Up_Memset\d+",
    "reads or sets a word":
        r"U_(Get|Is|Set(?!CurrentThreadName)|Account|Enable|Disable|CheckHandle)\w*"
        r"|\w+::(Get|Is)[A-Z]\w*|U_(Increment|Decrement)PostErrors|U_\w+ThreadID"
        r"|U_(Decimal|Thousands)Char|Up_(Get|Set)ThreadLast\w+|U_RandErr"
        r"|U_(Double|ModKey|QT|Presumed|Unlock|Mill|SecondsSince)\w+"
        r"|U_(ZLocaleAlive|InitializeCallStackMonitoring|Delay|Beep|MEM_SetBaseline|CheckRAM\w+)"
        r"|U_AnyTreeWrapper::(erase|get_self|get_child_tree|is_array)|U_XMPMetaRef::ResetXMPRef",
    "names the thread, or writes a line and drops the line without memory":
        r"U_SetCurrentThreadName|Up_(DebugCStr|IsValidZString)|U_MEM_Report",
    "forwards to the host's provider": r"U::telemetry::.*",
    "ends the process or only throws": r"U_Die|ThrowNullPointerError",
    "a row of a caller, of a callee or of a function with the same body":
        r"U_(DeferredReportingEnd|DeInternationalizeNum|ZStringToCStr|ZStringToEnglish\w+\[.*)"
        r"|U_Any::(GetAs_(Enum|bool|double)|IsNumeric)|U_XML_Element::GetAttributeValue"
        r"|U_ZStringSet\w+|Up_(HDT_ReportErr|ReportError|String|SubString)|U_ZGetLengthLStrCache"
        r"|U_Purge(Loop|HandlesAndCompact)|U_CompactMem|U_NOUIThrottler::.*"
        r"|U_(PtimeToSeconds|SecondsToPtime)",
    "copies a text that is empty without a memory log": r"U_GetMemoryLogPath\[.*",
}


def main():
    rows = "".join(path.read_text() for path in (TESTS / "operations").glob("*.*"))
    named = set(re.findall(r"\w+", rows))
    functions = set()
    for line in (TESTS / "exports" / "U.txt").read_text().splitlines():
        if not line.startswith(("typeinfo ", "vtable ")):
            functions.add(re.sub(r"\(.*", "", line))
    failed = False
    for function in sorted(functions):
        if re.sub(r"\[.*", "", function.split("::")[-1]) not in named and \
                not any(re.fullmatch(reason, function) for reason in REASONS.values()):
            print(f"{function} has no row in tests/operations, and no reason here")
            failed = True
    for reason, pattern in REASONS.items():
        if not any(re.fullmatch(pattern, function) for function in functions):
            print(f"no function is exported that {reason}")
            failed = True
    return failed


if __name__ == "__main__":
    sys.exit(main())
