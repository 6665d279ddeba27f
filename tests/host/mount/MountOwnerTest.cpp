#include "tests/host/mount/ComparedWithTmpfs.h"

#include <sys/stat.h>

namespace storage::tests {

namespace {

/// Users, groups and permissions of a mount that other users may access.
class MountOwnerTest : public ComparedWithTmpfs {};

TEST_F(MountOwnerTest, GivesNewEntriesToTheirCreator) {
    expectSameOutput(R"(
        as 1001 'umask 027; touch f; mkdir d; echo text > d/own; cat d/own'
        as 1002 'cat f; ls d; touch d/other; rm -f f; mv f g; echo more >> f; touch mine'
        as 1001 'chmod 644 f; chmod 755 d'
        as 1002 'cat f; ls d; chmod 777 f; chown 1002 mine; chgrp 2000 mine; chown 1001 mine; chown 1002 f'
        as 1001 'umask 0; install -m 4711 /dev/null program; install -m 2750 /dev/null group'
        show . f d d/own mine program group
    )");
}

TEST_F(MountOwnerTest, ClearsSetIdBitsOnChown) {
    expectSameOutput(R"(
        for mode in 4755 2755 6755 2644 6777 7777; do
            touch $mode; chmod $mode $mode; chown 1001 $mode; show $mode
            chmod $mode $mode; chgrp 1002 $mode; show $mode
            chmod $mode $mode; chown :2000 $mode; show $mode
            chmod $mode $mode; as 1001 "chgrp 1001 $mode"; show $mode
            mkdir d$mode; chmod $mode d$mode; chown 1001:2000 d$mode; show d$mode
        done
        touch own; chown 1001:1002 own
        as 1001 'chmod 2755 own'; show own
        as 1001 'chmod 4755 own'; show own
    )");
}

TEST_F(MountOwnerTest, ClearsSetIdBitsOnWriteUnlessAMemberKeepsTheGroup) {
    expectSameOutput(R"(
        for mode in 2666 6666 2676 4666; do
            touch $mode; chown 0:1001 $mode
            for user in 1001 1002; do
                chmod $mode $mode; as $user "echo text >> $mode"; show $mode
                chmod $mode $mode; as $user "truncate -s 1 $mode"; show $mode
                chmod $mode $mode; as $user "fallocate -l 5000 $mode"; show $mode
            done
        done
    )");
}

TEST_F(MountOwnerTest, ClearsSetIdBitsOnChownOfNothing) {
    expectSameOutput(R"(
        mkdir d; mkfifo fifo; touch file plain; chown 1001:1002 d fifo file plain
        for entry in d fifo file; do
            chmod 6755 $entry; as 1002 "chown : $entry"; show $entry
            chmod 6755 $entry; as 1001 "chown : $entry"; show $entry
            chmod 6755 $entry; chown : $entry; show $entry
        done
        chmod 2644 file; as 1001 'chown : file'; show file
        as 1002 'chown : plain'; show plain
    )");
}

TEST_F(MountOwnerTest, InheritsTheGroupOfAFolder) {
    expectSameOutput(R"(
        mkdir shared; chown 1001:2000 shared; chmod 2775 shared
        as 1002 'umask 002; touch shared/f; mkdir shared/d; mkdir -m 700 shared/d/e; touch shared/d/e/f'
        as 1002 'install -m 2755 /dev/null shared/inside'
        chgrp 1001 shared
        as 1001 'umask 0; mkdir -m 2777 shared/g; install -m 2755 /dev/null shared/h'
        as 1002 'umask 0; touch shared/no'
        show shared shared/* shared/d/*
    )");
}

TEST_F(MountOwnerTest, ProtectsEntriesInStickyFolders) {
    expectSameOutput(R"(
        mkdir -m 1777 all
        as 1001 'touch all/a all/b; mkdir all/d'
        as 1002 'rm -f all/a; mv all/a all/c; rmdir all/d; touch all/own; mv all/own all/a; mv -f all/own all/b; rm all/own'
        as 1001 'mv all/a all/c; rm all/b; rmdir all/d'
        show all all/*
    )");
}

TEST_F(MountOwnerTest, LetsRootChangeEverythingWithoutAllowOther) {
    expectSameOutput(R"(
        touch f; mkdir d; chown 1001:1002 f d; show f d; chmod 6755 f; chown 3:4 f; show f d
        chmod 0 f d; echo text > f; cat f; touch d/f; cp -a f copy; cp -p f second; show f d d/f copy second
        [ -x f ]; echo $?; [ -r f ]; echo $?; ./f; chmod 100 f; [ -x f ]; echo $?
        chmod 7777 f; chmod 7777 d; show f d; tar cf - f d | (mkdir out; cd out; tar xpf -; show f d d/f)
    )",
                     {});
}

} // namespace

} // namespace storage::tests
