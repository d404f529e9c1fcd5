// AddressSanitizer defaults for the tests that run libVLC, whose plug-ins (not our code) trip two
// checks:
// - its stream filters probe every stream with strndup() on a peeked buffer that has no terminating
//   NUL (legal: strndup stops at the length it is given), and with strict_string_checks the strndup
//   interceptor reads on to a terminator and reports a heap overflow;
// - its adaptive-streaming (HLS) demuxer frees with free() some memory it allocated with new.
// Everything else is still checked. Only the sanitizer build reads this; options given in the
// environment still win.
extern "C" const char *__asan_default_options()
{
    return "intercept_strndup=0:alloc_dealloc_mismatch=0";
}

// Lines read by libVLC's line reader that one of its plug-ins never frees (a few hundred bytes per
// stream or subtitle file).
extern "C" const char *__lsan_default_suppressions()
{
    return "leak:vlc_stream_ReadLine\n";
}
