#pragma once

#include "host/data/DSDocument.h"

class KORV_DataSource;
class SVSDocumentStrings;
class SVSValidSpecs;

// The design in words, for whoever works with the sample later: plan, final weight, and each stage with its
// variables, its method and its sizes. Variables go by their names in `activeFile`.
SVSDocumentStrings DescribeDesign(const SVSValidSpecs& specs, const KORV_DataSource& activeFile);

// The texts as a document of today, in lines of at most 80 bytes.
DSDocument MakeSampleDocument(const SVSDocumentStrings& texts);
