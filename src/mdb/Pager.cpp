#include "mdb/Pager.h"

#include <algorithm>

namespace mdb {

Pager::Pager(File& file, const Layout& layout, uint32_t pageCount)
    : file_(file), layout_(layout), pageCount_(pageCount), committedPageCount_(pageCount)
{
}

Result<PageBytes> Pager::read(uint32_t pageNumber)
{
    if (auto changed = changed_.find(pageNumber); changed != changed_.end())
        return PageBytes(changed->second);
    if (auto found = cache_.find(pageNumber); found != cache_.end()) {
        recent_.splice(recent_.begin(), recent_, found->second.position);
        return found->second.bytes;
    }
    if (pageNumber >= pageCount_)
        return corruption("page " + std::to_string(pageNumber) + " lies beyond the end of the file (" +
                     std::to_string(pageCount_) + " pages)");

    auto bytes = std::make_shared<std::vector<uint8_t>>(layout_.pageSize);
    if (Status read = file_.read(uint64_t(pageNumber) * layout_.pageSize, *bytes); !read)
        return within("page " + std::to_string(pageNumber), read.error());
    remember(pageNumber, bytes);
    return PageBytes(bytes);
}

void Pager::prefetch(std::vector<uint32_t> pageNumbers)
{
    std::erase_if(pageNumbers, [this](uint32_t page) {
        return page >= pageCount_ || changed_.contains(page) || cache_.contains(page);
    });
    std::sort(pageNumbers.begin(), pageNumbers.end());
    pageNumbers.erase(std::unique(pageNumbers.begin(), pageNumbers.end()), pageNumbers.end());
    pageNumbers.resize(std::min(pageNumbers.size(), kCachedPages / 2));
    const std::size_t size = layout_.pageSize;
    std::vector<std::shared_ptr<std::vector<uint8_t>>> pages;
    std::vector<std::span<uint8_t>> parts;
    for (std::size_t first = 0; first < pageNumbers.size();) {
        std::size_t end = first + 1;
        while (end < pageNumbers.size() && pageNumbers[end] == pageNumbers[end - 1] + 1)
            ++end;
        // The run's pages read straight into their own buffers.
        pages.clear();
        parts.clear();
        for (std::size_t i = first; i < end; ++i) {
            pages.push_back(std::make_shared<std::vector<uint8_t>>(size));
            parts.emplace_back(*pages.back());
        }
        if (file_.readParts(uint64_t(pageNumbers[first]) * size, parts)) {
            for (std::size_t i = first; i < end; ++i)
                remember(pageNumbers[i], std::move(pages[i - first]));
        }
        first = end;
    }
}

void Pager::remember(uint32_t pageNumber, PageBytes bytes)
{
    if (auto found = cache_.find(pageNumber); found != cache_.end()) {
        found->second.bytes = std::move(bytes);
        recent_.splice(recent_.begin(), recent_, found->second.position);
        return;
    }
    recent_.push_front(pageNumber);
    cache_.emplace(pageNumber, Entry{std::move(bytes), recent_.begin()});
    if (cache_.size() > kCachedPages) {
        cache_.erase(recent_.back());
        recent_.pop_back();
    }
}

Result<std::vector<uint8_t>*> Pager::modify(uint32_t pageNumber)
{
    if (auto changed = changed_.find(pageNumber); changed != changed_.end())
        return changed->second.get();
    auto current = read(pageNumber);
    if (!current)
        return current.error();
    auto copy = std::make_shared<std::vector<uint8_t>>(**current);
    changed_[pageNumber] = copy;
    return copy.get();
}

uint32_t Pager::append()
{
    const uint32_t pageNumber = pageCount_++;
    changed_[pageNumber] = std::make_shared<std::vector<uint8_t>>(layout_.pageSize, uint8_t(0));
    return pageNumber;
}

void Pager::discardChanges()
{
    changed_.clear();
    pageCount_ = committedPageCount_;
}

void Pager::acceptChanges()
{
    for (auto& [pageNumber, bytes] : changed_)
        remember(pageNumber, bytes);
    changed_.clear();
    committedPageCount_ = pageCount_;
}

Result<Page> readPageOfType(Pager& pager, uint32_t number, uint8_t type, const char* what)
{
    auto bytes = pager.read(number);
    if (!bytes)
        return bytes.error();
    Page page{number, *bytes};
    if (page.type() != type)
        return corruption(std::string(what) + " page " + std::to_string(number) + ": page type is " +
                     std::to_string(page.type()) + ", expected " + std::to_string(type));
    return page;
}

}  // namespace mdb
