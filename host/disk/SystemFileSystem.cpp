#include "host/disk/SystemFileSystem.h"

#include "host/support/CommandError.h"

#include <cerrno>
#include <linux/magic.h>
#include <sys/vfs.h>

namespace storage::host {

namespace {

struct MagicNumber {
    unsigned long magic;
    const char* name;
};

constexpr MagicNumber kinds[] = {
    {PROC_SUPER_MAGIC, "proc"},        {SYSFS_MAGIC, "sysfs"},
    {DEBUGFS_MAGIC, "debugfs"},        {TRACEFS_MAGIC, "tracefs"},
    {SECURITYFS_MAGIC, "securityfs"},  {CGROUP_SUPER_MAGIC, "cgroup"},
    {CGROUP2_SUPER_MAGIC, "cgroup2"},  {BPF_FS_MAGIC, "bpf"},
    {PSTOREFS_MAGIC, "pstore"},        {EFIVARFS_MAGIC, "efivarfs"},
    {SELINUX_MAGIC, "selinuxfs"},      {SMACK_MAGIC, "smackfs"},
    {BINFMTFS_MAGIC, "binfmt_misc"},   {DEVPTS_SUPER_MAGIC, "devpts"},
    {RDTGROUP_SUPER_MAGIC, "resctrl"}, {0x62656570, "configfs"},
    {0x65735543, "fusectl"},           {0x19800202, "mqueue"},
    {0x67596969, "rpc_pipefs"},        {0x6e667364, "nfsd"},
};

} // namespace

const char* systemFileSystemOf(const FileDescriptor& folder) {
    struct statfs status {};
    if (::fstatfs(folder.number(), &status) != 0) {
        throw diskError(folder.path(), errno);
    }
    for (const MagicNumber& kind : kinds) {
        if (static_cast<unsigned long>(status.f_type) == kind.magic) {
            return kind.name;
        }
    }
    return nullptr;
}

} // namespace storage::host
