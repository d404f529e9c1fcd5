# Every third-party playlist of the shared fixtures through the M3U parser (skips when they are absent).
quenvo_add_test(tst_m3u_realworld SOURCES tst_m3u_realworld.cpp)
