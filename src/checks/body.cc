// What the analysis of text and HTML counted, turned into points. Nothing is
// checked yet.

#include "scan/tqmmsg.h"

void TQMMSG::checkHtml() {}

void TQMMSG::checkMsgStructure() {}

void TQMMSG::checkHtmlContext() {}

void TQMMSG::checkImg() {}

void TQMMSG::checkEmbedSpam() {}

void TQMMSG::checkMsgByNature() {}

void TQMMSG::checkJavascript() {}
