// SPDX-License-Identifier: MIT
#pragma once

/**
 * The protocol between the runner and the programs that write tags, sleevery-tagger and
 * sleevery-tagger-scaling. The arguments are: the song file, the temporary file, the longest side in pixels,
 * 1 or 0 for SongUpdate::replace, and the runner's process id. The program ends when the runner ends. If it
 * fails, it writes the reason, a sentence, to standard output.
 */
namespace tagger {

/** The descriptor of the picture. */
inline constexpr int pictureDescriptor = 3;

/** The descriptor of the queue's lock. The program only holds it, so that the lock stays while it works. */
inline constexpr int lockDescriptor = 4;

/** Replaces sleevery-tagger if the picture must be scaled or encoded again. */
inline constexpr const char* scalingProgram = "sleevery-tagger-scaling";

enum ExitCode { Done = 0, Failed = 1, Later = 75 }; // as in sysexits.h

} // namespace tagger
