// SPDX-License-Identifier: MIT
#pragma once

/**
 * How the runner and the programs that write tags, sleevery-tagger and sleevery-tagger-scaling, talk. Their
 * arguments: the song file, the temporary file, the longest side in pixels, 1 or 0 for SongUpdate::replace,
 * and the process id of the runner, with which they end. They write the reason of a failure, a sentence, to
 * their standard output.
 */
namespace tagger {

/** A descriptor with the picture. */
inline constexpr int pictureDescriptor = 3;

/** A descriptor that it only holds: the lock of the queue, which is not given up while it works. */
inline constexpr int lockDescriptor = 4;

/** Takes sleevery-tagger's place where a picture has to be made to fit. */
inline constexpr const char* scalingProgram = "sleevery-tagger-scaling";

enum ExitCode { Done = 0, Failed = 1, Later = 75 }; // as in sysexits.h

} // namespace tagger
