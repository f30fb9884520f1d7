#!/usr/bin/env python3
"""Checks that each function that libU.so exports has a row, or a reason to have none.

Usage: check_rows.py

A function has a row if the files in tests/operations name it. Overloads count as one function.
Destructors need no row: the object of a row calls its destructor. REASONS lists the other functions
without a row, by their whole names. A word that ends in "::" is the class of the words after it.
"operator_" stands for "operator ".
"""

import pathlib
import re
import sys

TESTS = pathlib.Path(__file__).parent.parent

REASONS = {
    "an object of a row calls it, or it allocates nothing": """
        U::telemetry::U_TelemetryProvider:: U_TelemetryProvider operator=
        U_Context:: operator= U_MemTrackedObject:: operator_delete operator_delete[] operator_new
        operator_new[] operator= U_NOUIThrottler:: U_NOUIThrottler
        U_ScDisableProactivePrePurging:: U_ScDisableProactivePrePurging operator=
        U_ScReserveContiguousAddressSpace:: operator=
        U_ScSetAndRestoreUnhandledExceptionOrHardwareErrorHandler:: operator=
        U_State:: U_State U_XML_Element:: operator= U_XMPMetaRef:: operator___XMPMeta__* operator=
        boost::enable_shared_from_this<U_Context>:: enable_shared_from_this operator=
        shared_from_this weak_from_this""",
    "a variable": """
        U_G_CPU_DataP U_rcNULL Up_DrawSupplierP0 Up_TopLevelWindowP0 U_Context:: S_ctxt_id
        S_states_factory U_RCPtrBase:: sNull U_SuspendContext:: S_terminated ScLoan::tInnermost""",
    "a private part of a function that has a row": """
        U_Any:: ConvertedToInt InferredType WriteJSON
        U_AnyTreeWrapper:: Append AppendTree EraseNamesakesOfLast FindChild PutValue
        U_Context:: CallStates Deactivate GetState
        U_SuspendContext:: Attach AwaitLatest Call CallHere CallThere Detach ExecuteStatic
        IsContextFree RequireContext RunWithin WaitForResult PostedCall::Cancel
        PostedCall::HasReleasedContext PostedCall::Run PostedCall::RunFunction ScLoan::MarkLost
        ScLoan::ScLoan U_ResumeContext::Detach U_ResumeContext::U_ResumeContext""",
    "counts references": """
        U_RCObject:: RemoveReference U_RCPtrBase:: ClearBase Compare CompareNull ComparePointer
        CountIt Hack_AddReference Hack_RemoveReference Pointer ResetBase U_RCPtrBase UsePointer
        operator! operator!= operator= operator== U_ReferenceCount:: Decrement Increment IsShared
        IsUniquelyReferenced IsUnreferenced U_ReferenceCount operator=
        U_XMPMetaRef:: ResetXMPRef""",
    "the walks over a life call it": "U_Birth U_Death U_ZLocaleBirth U_ZLocaleDeath",
    "reads, compares, changes or frees memory of the caller": """
        U_CharByte U_CharByteFromScript U_CharNextByte U_CleanTo7BitOnly U_ConcatString
        U_CopyStringLen U_FpLongSwap U_FpShortSwap U_GetName U_HexChar2Nibble U_Int32ToPointer
        U_IntPtrToPointer U_IsZstr U_LLongSwap U_LongSwap U_MakeDBCSSafeStr U_PointerToInt32
        U_PointerToIntPtr U_Pstrcpy U_ShortSwap U_TruncateString U_ZGetLengthLStrCache U_strchr
        U_stricmp U_strrchr U_strrstr U_strstr Up_Memset16 Up_Memset32
        U_AnyTreeWrapper:: erase get_child_tree get_self is_array U_XML_Element:: IsValid""",
    "changes memory of the caller; a text that is too long is reported as in other rows":
        "U_CopyCtoPString U_CopyPtoCString",
    "reads or sets words of the library or of the system": """
        U_AccountAllocation U_AccountAllocationEx U_AccountFrameAllocation
        U_AccountSystemAllocation U_CheckHandleFromHeap U_DecimalChar U_DecrementPostErrors U_Delay
        U_DisableProactivePrePurging U_DoubleByteSafeMode U_EnableProactivePrePurging
        U_GetCurrentCallStackSize U_GetGlobalUnhandledExceptionOrHardwareErrorHandler
        U_GetHogHandleSize U_GetMemUsageLimits U_GetNumThreads U_GetPayAttentionToLowMemory
        U_GetPlatformSpecificCurrentTextEncodingForSerialization U_GetPtrSize
        U_GetPurgeRequestCallback U_GetRecycledMemorySize U_GetRecycledPtrBaseAddress
        U_GetUnhandledExceptionOrHardwareErrorHandler U_IncrementPostErrors
        U_InitializeCallStackMonitoring U_IsCallStackMonitoringInitialized U_IsMainThreadID U_IsOSX
        U_IsRenderThreadID U_MEM_SetBaseline U_MillisecondsSinceBoot U_ModKeyDown U_PRThreadID
        U_PSLThreadID U_PresumedAppSize U_QTAvailable U_SecondsSinceBoot
        U_SetGlobalUnhandledExceptionOrHardwareErrorHandler U_SetHogReportingOn U_SetMemUsageLimits
        U_SetMemUsageLimitsOverride U_SetNumThreads U_SetPayAttentionToLowMemory
        U_SetPencartValuesForUErrors U_SetPurgeRequestCallback U_SetRandErrFilter U_ThousandsChar
        U_UnlockHogHandle U_ZLocaleAlive U_ZStringSetCurrentDictionaryCompressed U_ZStringSetEnglish
        Up_GetThreadLastLocation Up_GetThreadLastSeverity Up_SetThreadLastError
        U_ScSetAndRestoreUnhandledExceptionOrHardwareErrorHandler:: GetPreviousExceptionFunc
        GetPreviousExceptionRefcon
        U_SuspendContext:: TerminateAndFailAllSuspendedContexts""",
    "names the thread, beeps, or writes a line and drops the line without memory":
        "U_Beep U_Die U_MEM_Report U_SetCurrentThreadName Up_DebugCStr Up_IsValidZString",
    "forwards to a function of the host": """
        U_GetRunMode U_RandErr U::telemetry:: AddToGroup ClearEventCount IncrementEventCount
        IsLogging LogEvent LogEventWithCount LogEventsWithCount NewDataGroup""",
    "returns free memory to the system": "U_CompactMem U_PurgeHandlesAndCompact",
    "reads words, or asks malloc for blocks: while munmap fails, the C library loses each block":
        "U_GetMemoryStat",
    "a row of a caller, of a callee or of a function with the same body": """
        ThrowNullPointerError U_DeInternationalizeNum U_DeferredReportingEnd U_PurgeLoop
        U_SetLocalUnhandledExceptionOrHardwareErrorHandler U_ZStringSetCurrentDictionary
        U_ZStringToCStr U_ZStringToEnglishUTF16String Up_HDT_ReportErr Up_ReportError Up_String
        Up_SubString U_NOUIThrottler:: ThrottleAndCheckAbort
        U_XML_Element:: GetAttributeValue""",
    "copies a text that is empty without a memory log": "U_GetMemoryLogPath",
}


def names(words):
    scope = ""
    for word in words.split():
        if word.endswith("::"):
            scope = word
        else:
            yield scope + re.sub("^operator_", "operator ", word)


def main():
    rows = "".join(path.read_text() for path in (TESTS / "operations").glob("*.*"))
    named = set(re.findall(r"\w+", rows))
    lacking = set()
    for line in (TESTS / "exports" / "U.txt").read_text().splitlines():
        function = re.sub(r"[(\[]abi.*|\(.*", "", line)
        last = function.split("::")[-1]
        if not line.startswith(("typeinfo ", "vtable ")) and last not in named and last[0] != "~":
            lacking.add(function)
    listed = [name for words in REASONS.values() for name in names(words)]
    for function in sorted(lacking.difference(listed)):
        print(f"{function} has no row in tests/operations, and no reason here")
    for name in sorted(set(listed)):
        if name not in lacking or listed.count(name) > 1:
            print(f"{name} has a reason here, but has a row, is listed twice or is not exported")
    return sorted(listed) != sorted(lacking)


if __name__ == "__main__":
    sys.exit(main())
