// Reports of the thread sanitizer that are no faults.

#ifdef __SANITIZE_THREAD__

// The sanitizer's library calls it.
extern "C" __attribute__((visibility("default"))) const char* __tsan_default_suppressions();

// The standard library, which is not instrumented, counts the owners of an exception that crosses
// threads: the sanitizer does not see that the last owner waits for the others.
extern "C" const char* __tsan_default_suppressions()
{
    return "race:std::__exception_ptr::exception_ptr::_M_release\n";
}

#endif
