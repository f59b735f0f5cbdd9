// The two message catalogues: the same numbering in English and Japanese.
#pragma once

constexpr int kaf_message_count = 572;

// Texts by message number; 571 is each table's sentinel.
extern const char *const E_rtmsg[kaf_message_count];
extern const char *const J_rtmsg[kaf_message_count];
