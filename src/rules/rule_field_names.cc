// The fields of a message that rules can ask for. A field's number is its place
// here, from 1 on, and stands in no file: new names may be added at the end.
// Looked up through HSTUFF::fieldNames. Tested by qm_dico_test.cc.

#include "rules/qm_dico.h"

const char _REGEXFIELDNAMES[] =
    "Id,Bound,Url,Img,Cid,FromDom,Subject,Html,Table,Class,Name,From,"
    "Generator,AdnFrom,Charset,Domain,Content,FirstLine,LastLine,@Hdr,"
    "Lang,Mailer,ContentType,MimeType,Multipart,Tags,Host,HttpHost,List,"
    "SpamState,SpamCause,FullText,Locu,Filename,Received,AdnRec,Rcvd,"
    "AdnRcvd,Labo,AdnLabo,AdnId,AdnCid,AdnBound,AdnHtml,AdnTable,AdnText,"
    "Unsub,XSpamStatus,Thid,AdnThid,ById,AdnById,Addr,Alias,User,md5,"
    "UrlParam,Comments,Date,Agent,To,Phone,AdnRecip,Counts,AddrWords,"
    "http,HtmlTags,Replyto,Encoding,Virus,Disponible,ImgSize,BadTag,"
    "Cause,AdnUrl,AdnFilename,TagParam,AdnTagParam,Emails,AdnSubject,Ole,"
    "UrlPath,ImgPath,Ip,RcvdFrom,AdnRcvdFrom,RcvdBy,AdnRcvdBy,RcvdWith,"
    "AdnRcvdWith,Words,SpamType,AdnDates,AdnLines,LineWords,AdnTab,"
    "CharCounts,AdnCharCounts,Lines,ImgWeight,Hdr,Tokens,AttExt,Linktext,"
    "Score,Cc,Invisible,AdnParts,For,Style,AdnAttach,PartMimeType,"
    "LinkTags,ImgFile,ImgLink,Zip,AdnUrl2,Country,Profil,Param,ImgDomain";
