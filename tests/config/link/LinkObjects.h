// What the kernel keeps for linked copies, for tests to make and remove.
#pragma once

#include <sys/ipc.h>
#include <sys/sem.h>
#include <sys/shm.h>

#include <string>

namespace trelis::test {

/// The key of the segment ('N') or of the semaphores ('O') of the copies of a file.
inline key_t linkKey(const std::string& path, int project) {
    return ftok(path.c_str(), project);
}

/// Removes both, if they are there. The file must still be.
inline void removeLinkObjects(const std::string& path) {
    if (const int shm = shmget(linkKey(path, 'N'), 0, 0); shm >= 0) shmctl(shm, IPC_RMID, nullptr);
    if (const int sem = semget(linkKey(path, 'O'), 0, 0); sem >= 0) semctl(sem, 0, IPC_RMID);
}

}  // namespace trelis::test
