// The attribute maps of one kind of element.
#ifndef KESTRIX_ENGINE_ELEMENT_ATTRIBUTES_H
#define KESTRIX_ENGINE_ELEMENT_ATTRIBUTES_H

#include "TagParser.h"

#include <algorithm>
#include <vector>

#include <libxml/tree.h>

// Elements of one kind mostly come with the same attributes in the same order, so the map stays
// from one to the next and only its values change.
class ElementAttributes {
public:
    // Takes the attributes of an element, by local name; of two with one local name the later
    // stays. A value is the text of the attribute's first child node, so an entity reference cuts
    // it short, and null without a child. Names and values belong to the XML reader: the names are
    // good for the whole document, the values until the element's end tag has been handled.
    void read(const xmlNode* element)
    {
        const xmlAttr* const first = element == nullptr ? nullptr : element->properties;
        if (!hasNamesOf(first)) {
            forget();
            for (const xmlAttr* attribute = first; attribute != nullptr;
                 attribute = attribute->next) {
                places_.push_back(map_.try_emplace(nameOf(attribute)).first);
            }
            remember();
        }
        auto place = places_.begin();
        for (const xmlAttr* attribute = first; attribute != nullptr; attribute = attribute->next) {
            (*place++)->second =
                attribute->children == nullptr ? nullptr : attribute->children->content;
        }
    }

    // The map for a parser, with the element's text under CONTENT unless it is null.
    AttributeMap& map(unsigned char* content)
    {
        if ((content != nullptr) != hasContent_) {
            changeContent(content);
        } else if (content != nullptr) {
            content_->second = content;
        }
        return map_;
    }

    // To be called when a parser has had the map: it may have changed it.
    void release()
    {
        const auto isSame = [](const AttributeMap::value_type& attribute, const Given& given) {
            return &attribute == given.attribute && attribute.first == given.name;
        };
        if (!std::equal(map_.begin(), map_.end(), given_.begin(), given_.end(), isSame)) {
            forget();
        }
    }

private:
    static constexpr std::size_t usualCount = 8;

    struct Given {
        const AttributeMap::value_type* attribute;
        const char* name;
    };

    static const char* nameOf(const xmlAttr* attribute)
    {
        return reinterpret_cast<const char*>(attribute->name);
    }

    // The reader gives equal names at one address.
    bool hasNamesOf(const xmlAttr* attribute) const
    {
        for (const AttributeMap::iterator place : places_) {
            if (attribute == nullptr || place->first != nameOf(attribute)) {
                return false;
            }
            attribute = attribute->next;
        }
        return attribute == nullptr;
    }

    void changeContent(unsigned char* content)
    {
        if (content == nullptr) {
            map_.erase(content_);
            hasContent_ = false;
        } else {
            // An attribute of that name is replaced, and has its place already.
            const auto [place, isNew] = map_.insert_or_assign(TagParser::CONTENT, content);
            content_ = place;
            hasContent_ = isNew;
        }
        remember();
    }

    void forget()
    {
        map_.clear();
        places_.clear();
        places_.reserve(usualCount);
        given_.clear();
        given_.reserve(usualCount);
        hasContent_ = false;
    }

    void remember()
    {
        given_.clear();
        for (const AttributeMap::value_type& attribute : map_) {
            given_.push_back({&attribute, attribute.first});
        }
    }

    AttributeMap map_;
    std::vector<AttributeMap::iterator> places_;  // of the element's attributes, in its order
    AttributeMap::iterator content_;              // of CONTENT, while hasContent_
    bool hasContent_ = false;                     // CONTENT is there and no attribute
    std::vector<Given> given_;                    // what the map holds, in its order
};

#endif
