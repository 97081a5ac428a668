// SPDX-License-Identifier: MIT
#ifndef ZORVEX_FOUNDATION_STORE_XMLREADER_H
#define ZORVEX_FOUNDATION_STORE_XMLREADER_H

#include "foundation/store/xmlelement.h"

/// \file
/// Reading of trees. It goes on wherever the loader is and leaves the loader where it stops.

/// As LXMLElement::LoadData.
void ReadXmlContent(LXMLElement& element, LXMLLoaderTemplate<char>& loader);

/// The attributes and the content of an element without any, whose name has been read and ended
/// with `stop`.
void ReadXmlElement(LXMLElement& element, char stop, LXMLLoaderTemplate<char>& loader);

#endif  // ZORVEX_FOUNDATION_STORE_XMLREADER_H
