#include "benchmarks/stores/EnvironmentStore.h"

#include <leveldb/db.h>
#include <leveldb/env.h>
#include <leveldb/helpers/memenv.h>
#include <memory>
#include <string>

namespace storage::benchmark {

namespace {

class LevelDbStore final : public EnvironmentStore<leveldb::Env, leveldb::Slice, leveldb::WritableFile,
                                                   leveldb::RandomAccessFile> {
public:
    explicit LevelDbStore(const Paths& paths)
        : EnvironmentStore(leveldb::NewMemEnv(leveldb::Env::Default()), paths) {}

    bool exists(PathIndex index) override { return environment().FileExists(path(index)); }

    void removeFile(PathIndex index) override { requireOk(environment().RemoveFile(path(index))); }

    void overwriteFile(PathIndex index, const char* bytes, std::size_t count) override {
        requireOk(openWith(&leveldb::Env::NewWritableFile, index)->Append(leveldb::Slice(bytes, count)));
    }

private:
    std::unique_ptr<Stream> openToAppend(PathIndex index) override {
        return std::make_unique<Writer>(openWith(&leveldb::Env::NewAppendableFile, index));
    }
};

} // namespace

StoreKind levelDbKind() {
    return {"leveldb",
            std::to_string(leveldb::kMajorVersion) + '.' + std::to_string(leveldb::kMinorVersion),
            {Ability::Tree, Ability::ChangeFiles, Ability::Write, Ability::LiveInProcess},
            [](const Paths& paths) { return std::make_unique<LevelDbStore>(paths); }};
}

} // namespace storage::benchmark
