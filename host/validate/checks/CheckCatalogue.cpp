#include "host/validate/checks/CheckCatalogue.h"

#include <array>

namespace storage::host {

std::span<const CheckGroup> checkCatalogue() {
    static const std::array groups{
        CheckGroup{
            1, "Entry point and lifetime", checks::entryPoint(),
            R"(A host loads a plug-in, gets providers from one C function, and unloads the plug-in when every
object that it made is destroyed. Whether two providers of one plug-in show the same storage is up to the
plug-in; two in-memory providers share nothing.)"},
        CheckGroup{
            2, "Creating and removing", checks::creatingAndRemoving(),
            R"(One operation creates or removes one entry. Its folder must exist: no folder on the path is
created, and nothing else is removed.)"},
        CheckGroup{
            3, "Existence and attributes", checks::attributes(),
            R"(Queries change nothing. Existence tests answer for every location. Attributes are those of an
entry of the requested kind.)"},
        CheckGroup{
            4, "Paths", checks::paths(),
            R"(A path consists of names with "/" between them. A storage decides which names it accepts, but
lists an accepted name unchanged. The in-memory provider accepts every name, resolves nothing, and compares by
code units.)"},
        CheckGroup{
            5, "Times", checks::times(),
            R"(Each entry has one last-modified time, in UTC. Storages differ in the resolution of their times
and in what they count as a change of a folder. So most exact rules apply only to the in-memory provider.)"},
        CheckGroup{6, "The writable flag", checks::writableFlag(),
                   R"(The flag is the only protection. It protects the bytes of a file and the file itself. It
protects a folder against new and removed entries, but not the content of its entries.)"},
        CheckGroup{
            7, "Opening streams", checks::openingStreams(),
            R"(The options determine what happens to a missing file and to existing bytes. A refused opening
neither creates nor empties a file.)"},
        CheckGroup{
            8, "Reading and writing", checks::readingAndWriting(),
            R"(A stream is a position in the bytes of a file. All streams on a file share its bytes, and each
has its own position. The bytes exist as long as a stream is open on them, whatever happens to the file's
name, its folder and the provider. A read may return fewer bytes than requested. A provider may buffer writes
until the stream is flushed or closed.)"},
        CheckGroup{9, "Listings", checks::listings(),
                   R"(A listing is a snapshot of one folder, made by the call. It yields names and kinds in an
unspecified order, which may differ in the next listing. It locks nothing in the storage, and can be cloned
after any step.)"},
        CheckGroup{
            10, "Moving files", checks::movingFiles(),
            R"(A move takes a file from one location to another. The policy determines whether an existing
file is replaced. A folder is never replaced.)"},
        CheckGroup{
            11, "Moving folders", checks::movingFolders(),
            R"(A folder moves with everything below it. Only an empty folder is replaced. A move may stop
midway: what has been moved stays moved, and no file is lost.)"},
        CheckGroup{
            12, "Operations with a default", checks::derivedOperations(),
            R"(These operations have a default that calls only the others, so they work on every provider. A
provider may override them; the rules apply to overrides too.

The default copies write to a temporary file in the destination's folder, named `.copy-` and 16 random
hexadecimal digits. If the process ends during a copy, that file stays. The default of doTruncateToSize opens
the file for writing, so it stamps the file where opening does, even if the size stays the same.)"},
        CheckGroup{
            13, "Threads", checks::threads(),
            R"(Any number of threads may use one provider. Each operation is atomic to the extent that its
rules state; a sequence of calls is not. The following guarantees are weaker, also in the in-memory provider:

- Setting a time or the writable flag finds the entry, then sets the value. If the entry is moved, replaced
  or removed in between, the call succeeds, and the value is lost with the old entry. Whether the entry exists
  is decided at one moment.
- An operation in progress while a flag is set may still use the old flag. Its own time stamp may overwrite a
  time that is set meanwhile.
- Attributes are read one after the other, from an entry that is found once. Each was true at one moment of
  the call.
- `doExists` and `doExistsExtended` test for a file, then for a folder, in two steps.)"},
        CheckGroup{
            14, "Exhausted memory", checks::exhaustedMemory(),
            R"(An allocation may fail in any operation. The operation then throws `std::bad_alloc`, and works
again when memory is available. In the in-memory provider, a failed creation, removal, opening, query, file
move or append has changed nothing. Operations composed of several steps may stop midway (14.9, 14.11). If an
operation fails for another reason and cannot allocate the message with the path, the process ends.)"},
        CheckGroup{
            15, "The process", checks::process(),
            R"(A provider is a guest in the process of its host. What it starts or opens ends with it, and what
its library starts or opens once for all providers ends with the last one. The state of the process stays
unchanged.)"},
        CheckGroup{
            16, "Defaults against models", checks::defaultsAgainstModels(),
            R"(The operations with a default are compared with simple models on random trees, patterns and
sizes. An operation that is not offered fails with NotOffered; one that is offered works.)"},
    };
    return groups;
}

} // namespace storage::host
