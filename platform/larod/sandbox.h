#pragma once

namespace korvex::larod {

enum class Role { service, worker };

/**
 * Leaves the calling process, and what it forks, the system calls that its role needs: no new files, no network, no
 * programs. What is not allowed fails with EPERM. For good; called once everything that must be opened is open.
 */
void give_up_rights(Role role);

} // namespace korvex::larod
