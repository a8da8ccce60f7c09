#pragma once

// How a shortcut's last run ended, as far as the library knows: none when it never ran, or ran
// before outcomes were kept, or is running now.
enum class RunOutcome { none, succeeded, failed };

// From the number the store keeps; anything unknown reads as none.
inline RunOutcome runOutcomeFromStored(long long stored)
{
    return stored == static_cast<long long>(RunOutcome::succeeded) ? RunOutcome::succeeded
           : stored == static_cast<long long>(RunOutcome::failed)  ? RunOutcome::failed
                                                                   : RunOutcome::none;
}
