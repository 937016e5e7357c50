#pragma once

#include "mdb/IndexPage.h"

#include <map>
#include <memory>

namespace mdb {

// Where decoded index pages come from.
class IndexPages {
public:
    virtual ~IndexPages() = default;
    // The decoded page. For PagerIndexPages it stays valid until the next
    // call; for IndexPageCache until the cache is cleared.
    virtual Result<const IndexPage*> get(uint32_t number) = 0;
};

// Decodes each page from the pager as it is asked for, in one form.
class PagerIndexPages final : public IndexPages {
public:
    explicit PagerIndexPages(Pager& pager, IndexPageForm form = IndexPageForm::Access) : pager_(pager), form_(form) {}
    Result<const IndexPage*> get(uint32_t number) override;
    void setForm(IndexPageForm form) { form_ = form; }

private:
    Pager& pager_;
    IndexPageForm form_;
    IndexPage current_;
};

// The index pages a writer works on, decoded once and kept while changes
// are made; flush() writes the changed ones back into the pager (encoded),
// which must happen before anything reads index pages from the pager.
class IndexPageCache final : public IndexPages {
public:
    explicit IndexPageCache(Pager& pager) : pager_(pager) {}

    Result<const IndexPage*> get(uint32_t number) override;
    // The page for changing; it will be written back at the next flush.
    Result<IndexPage*> edit(uint32_t number);
    // A page new to the index (already allocated), to be written at flush.
    IndexPage* create(IndexPage page);
    // Whether the page is in the cache.
    bool holds(uint32_t number) const { return pages_.count(number) != 0; }
    // A page the index no longer uses.
    void forget(uint32_t number);
    // Takes in every page of the tree under `root` as written in `form`, to
    // be written back in Access's form at the next flush. Pages already in
    // the cache are kept as they are.
    Status adoptTree(uint32_t root, IndexPageForm form);

    Status flush();
    void clear();

private:
    Result<IndexPage*> load(uint32_t number);

    Pager& pager_;
    std::map<uint32_t, std::unique_ptr<IndexPage>> pages_;
    std::map<uint32_t, bool> dirty_;
};

}  // namespace mdb
