// The RELAX NG schema of display documents, docs/ovix-display.rng, which is built in.
#pragma once

#include <memory>
#include <string>

#include <libxml/relaxng.h>

class Schema {
public:
    // Throws std::bad_alloc.
    Schema();

    // What makes a document with this element alone in its root invalid, in the words of the XML
    // library; "" if it is valid.
    std::string fault(xmlNode* element) const;

private:
    struct Free {
        void operator()(xmlRelaxNG* schema) const { xmlRelaxNGFree(schema); }
    };
    std::unique_ptr<xmlRelaxNG, Free> m_schema;
};
