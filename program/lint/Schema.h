// The RELAX NG schema of display documents, docs/ovix-display.rng, which is built in.
#pragma once

#include <memory>

#include <libxml/relaxng.h>

class Schema {
public:
    // Throws std::bad_alloc.
    Schema();

    // Whether a document with this element alone in its root is valid.
    bool allows(xmlNode* element) const;

private:
    struct Free {
        void operator()(xmlRelaxNG* schema) const { xmlRelaxNGFree(schema); }
    };
    std::unique_ptr<xmlRelaxNG, Free> m_schema;
};
